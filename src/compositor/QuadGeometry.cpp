#include "compositor/QuadGeometry.h"

#include <cmath>

namespace tavorin {

Matrix4 multiply(const Matrix4& a, const Matrix4& b) {
  Matrix4 out{};
  for (int column = 0; column < 4; ++column) {
    for (int row = 0; row < 4; ++row) {
      float sum = 0;
      for (int k = 0; k < 4; ++k) sum += a[k * 4 + row] * b[column * 4 + k];
      out[column * 4 + row] = sum;
    }
  }
  return out;
}

Matrix4 layerMatrix(Point center, float rotation, float width, float height, float canvasAspect) {
  Matrix4 translate = kIdentityMatrix;
  translate[12] = static_cast<float>(2 * center.x - 1);
  translate[13] = static_cast<float>(1 - 2 * center.y);
  // Rotating in clip space would shear a box on a non-square canvas; the
  // aspect factors rotate it as the viewer sees it.
  const float c = std::cos(rotation), s = std::sin(rotation);
  Matrix4 rotate = kIdentityMatrix;
  rotate[0] = c;
  rotate[1] = canvasAspect * s;
  rotate[4] = -s / canvasAspect;
  rotate[5] = c;
  Matrix4 scale = kIdentityMatrix;
  scale[0] = width;
  scale[5] = height;
  return multiply(translate, multiply(rotate, scale));
}

Float4 pinWeights(Point a, Point b, Point c, Point d) {
  const Float4 none{1, 1, 1, 1};
  const double ex = c.x - a.x, ey = c.y - a.y;
  const double fx = d.x - b.x, fy = d.y - b.y;
  const double cross = ex * fy - ey * fx;
  if (std::abs(cross) <= 1e-6) return none;
  const double t = ((b.x - a.x) * fy - (b.y - a.y) * fx) / cross;
  const Point meet{a.x + t * ex, a.y + t * ey};
  auto distance = [&](Point p) { return std::hypot(p.x - meet.x, p.y - meet.y); };
  const double da = distance(a), db = distance(b), dc = distance(c), dd = distance(d);
  if (!(da > 1e-5 && db > 1e-5 && dc > 1e-5 && dd > 1e-5)) return none;
  return {static_cast<float>((da + dc) / dc), static_cast<float>((db + dd) / dd),
          static_cast<float>((da + dc) / da), static_cast<float>((db + dd) / db)};
}

Matrix4 aspectFitTransform(float iw, float ih, float dw, float dh) {
  Matrix4 out = kIdentityMatrix;
  if (!(iw > 0 && ih > 0 && dw > 0 && dh > 0)) return out;
  const float a = iw / ih, d = dw / dh;
  if (d >= a) out[0] = a / d;
  else out[5] = d / a;
  return out;
}

}  // namespace tavorin

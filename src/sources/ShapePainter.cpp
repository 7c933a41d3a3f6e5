#include "sources/ShapePainter.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "platform/text/VectorCanvas.h"
#include "sources/ShapeFillPainting.h"

namespace tavorin {

namespace {

constexpr double kPi = std::numbers::pi;

std::vector<CanvasPoint> regularPolygon(CanvasRect rect, int vertices, double firstAngle) {
  const CanvasPoint c = rect.center();
  const double r = std::min(rect.width, rect.height) / 2;
  std::vector<CanvasPoint> points;
  for (int i = 0; i < vertices; ++i) {
    const double a = firstAngle + 2 * kPi * i / vertices;
    points.push_back({c.x + r * std::cos(a), c.y + r * std::sin(a)});
  }
  return points;
}

std::vector<CanvasPoint> star(CanvasRect rect) {
  const CanvasPoint c = rect.center();
  const double r = std::min(rect.width, rect.height) / 2;
  std::vector<CanvasPoint> points;
  for (int i = 0; i < 10; ++i) {
    const double a = -kPi / 2 + 2 * kPi * i / 10;
    const double radius = i % 2 == 0 ? r : 0.42 * r;
    points.push_back({c.x + radius * std::cos(a), c.y + radius * std::sin(a)});
  }
  return points;
}

// The heart curve x = 16 sin³t, y = 13 cos t − 5 cos 2t − 2 cos 3t − cos 4t,
// whose box is 32 by 29 from (−16, −17), stretched over the rectangle.
std::vector<CanvasPoint> heart(CanvasRect rect) {
  std::vector<CanvasPoint> points;
  for (int i = 0; i <= 120; ++i) {
    const double t = 2 * kPi * i / 120;
    const double x = 16 * std::pow(std::sin(t), 3);
    const double y = 13 * std::cos(t) - 5 * std::cos(2 * t) - 2 * std::cos(3 * t) - std::cos(4 * t);
    points.push_back({rect.x + rect.width * (x + 16) / 32, rect.y + rect.height * (y + 17) / 29});
  }
  return points;
}

}  // namespace

VectorPath shapePath(ShapeType shape, CanvasRect rect) {
  VectorPath path;
  switch (shape) {
    case ShapeType::rectangle: path.addRect(rect); break;
    case ShapeType::square: {
      const double side = std::min(rect.width, rect.height);
      path.addRect({rect.midX() - side / 2, rect.midY() - side / 2, side, side});
      break;
    }
    case ShapeType::circle: path.addEllipse(rect); break;
    case ShapeType::hexagon: path.addPolygon(regularPolygon(rect, 6, kPi / 6)); break;
    case ShapeType::octagon: path.addPolygon(regularPolygon(rect, 8, kPi / 8)); break;
    case ShapeType::star: path.addPolygon(star(rect)); break;
    case ShapeType::heart: path.addPolygon(heart(rect)); break;
  }
  return path;
}

PixelBufferRef ShapePainter::draw(const ShapeConfig& config) {
  PixelBufferRef picture = pool_.acquire();
  if (!picture) return nullptr;
  VectorCanvas canvas(*picture);
  if (!canvas.valid()) return nullptr;
  canvas.clear();
  canvas.clip(shapePath(config.shape, kShapeRect));
  paintShapeFill(canvas, config.fill, kShapeRect);
  return picture;
}

}  // namespace tavorin

#include "model/LayerInterpolation.h"

#include <cmath>

namespace tavorin {

namespace {

double lerp(double a, double b, double p) { return a + (b - a) * p; }
float lerp(float a, float b, float p) { return a + (b - a) * p; }

Point lerp(const Point& a, const Point& b, double p) { return {lerp(a.x, b.x, p), lerp(a.y, b.y, p)}; }
Size lerp(const Size& a, const Size& b, double p) { return {lerp(a.width, b.width, p), lerp(a.height, b.height, p)}; }

RGBAColor lerp(const RGBAColor& a, const RGBAColor& b, float p) {
  return {lerp(a.r, b.r, p), lerp(a.g, b.g, p), lerp(a.b, b.b, p), lerp(a.a, b.a, p)};
}

CornerRadii lerp(const CornerRadii& a, const CornerRadii& b, float p) {
  return {lerp(a.topLeft, b.topLeft, p), lerp(a.topRight, b.topRight, p), lerp(a.bottomLeft, b.bottomLeft, p),
          lerp(a.bottomRight, b.bottomRight, p)};
}

}  // namespace

RenderLayer interpolateLayer(const LayerState& from, const LayerState& to, float p) {
  const double pd = p;
  // What does not move (source, filters, keying) is the target's from the first frame.
  RenderLayer r{{to}, to.id};

  r.center = lerp(from.center, to.center, pd);
  r.cropRect = Rect{lerp(from.cropRect.origin, to.cropRect.origin, pd), lerp(from.cropRect.size, to.cropRect.size, pd)};
  r.shadowOffset = lerp(from.shadowOffset, to.shadowOffset, pd);
  r.rotation = lerp(from.rotation, to.rotation, p);
  r.opacity = lerp(from.opacity, to.opacity, p);
  r.borderWidth = lerp(from.borderWidth, to.borderWidth, p);
  r.shadowOpacity = lerp(from.shadowOpacity, to.shadowOpacity, p);
  r.shadowRadius = lerp(from.shadowRadius, to.shadowRadius, p);
  r.corners = lerp(from.corners, to.corners, p);
  r.borderColor = lerp(from.borderColor, to.borderColor, p);

  r.size = lerp(from.size, to.size, pd);
  // A flip that changes turns the layer over about its axis: the extent runs to
  // zero at the midpoint, where the flag switches to the target's.
  const double turn = std::fabs(1.0 - 2.0 * pd);
  if (from.flipHorizontal != to.flipHorizontal) r.size.width *= turn;
  if (from.flipVertical != to.flipVertical) r.size.height *= turn;
  r.flipHorizontal = p < 0.5f ? from.flipHorizontal : to.flipHorizontal;
  r.flipVertical = p < 0.5f ? from.flipVertical : to.flipVertical;

  r.fill = true;

  if (from.cornerPin || to.cornerPin) {
    const CornerPin a = from.cornerPin.value_or(CornerPin::unit());
    const CornerPin b = to.cornerPin.value_or(CornerPin::unit());
    r.cornerPin = CornerPin{lerp(a.topLeft, b.topLeft, pd), lerp(a.topRight, b.topRight, pd),
                            lerp(a.bottomLeft, b.bottomLeft, pd), lerp(a.bottomRight, b.bottomRight, pd)};
  }

  r.maskMode = MaskMode::none;
  r.maskPolygons.reset();
  return r;
}

}  // namespace tavorin

#include "sources/ShapeFillPainting.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tavorin {

namespace {

constexpr double kPi = std::numbers::pi;
constexpr int kAngularWedges = 180;

CanvasPoint along(CanvasPoint from, double angle, double distance) {
  return {from.x + distance * std::cos(angle), from.y + distance * std::sin(angle)};
}

// The colour runs out from color1 to color2 at the half turn and back again.
CanvasColor wedgeColor(const ShapeFill& fill, int wedge) {
  const double t = static_cast<double>(wedge) / kAngularWedges;
  const double w = t < 0.5 ? 2 * t : 2 * (1 - t);
  auto mix = [w](float a, float b) { return a + (b - a) * w; };
  return {mix(fill.color1.r, fill.color2.r), mix(fill.color1.g, fill.color2.g), mix(fill.color1.b, fill.color2.b),
          fill.opacity * mix(fill.color1.a, fill.color2.a)};
}

void paintAngular(VectorCanvas& canvas, const ShapeFill& fill, CanvasRect rect) {
  const CanvasPoint c = rect.center();
  const double reach = std::hypot(rect.width, rect.height);
  const double start = fill.angle * kPi / 180;
  for (int i = 0; i < kAngularWedges; ++i) {
    VectorPath wedge;
    wedge.addPolygon({c, along(c, start + 2 * kPi * i / kAngularWedges, reach),
                      along(c, start + 2 * kPi * (i + 1) / kAngularWedges, reach)});
    // Wedges drawn without anti-aliasing tile the turn with no seams; the
    // clip still smooths the outline.
    canvas.fillPath(wedge, wedgeColor(fill, i), false);
  }
}

}  // namespace

CanvasColor canvasColor(const RGBAColor& color, double opacity) {
  return {color.r, color.g, color.b, color.a * opacity};
}

void paintShapeFill(VectorCanvas& canvas, const ShapeFill& fill, CanvasRect rect) {
  const CanvasColor first = canvasColor(fill.color1, fill.opacity);
  const CanvasColor second = canvasColor(fill.color2, fill.opacity);
  switch (fill.style) {
    case ShapeFill::Style::solid: canvas.fillRect(rect, first); return;
    case ShapeFill::Style::linear: {
      const double angle = fill.angle * kPi / 180;
      const double half = std::max(rect.width, rect.height) / 2;
      canvas.fillLinearGradient(rect, along(rect.center(), angle + kPi, half), along(rect.center(), angle, half),
                                first, second);
      return;
    }
    case ShapeFill::Style::radial:
      canvas.fillRadialGradient(rect, rect.center(), std::max(rect.width, rect.height) / 2, first, second);
      return;
    case ShapeFill::Style::angular: paintAngular(canvas, fill, rect); return;
  }
}

}  // namespace tavorin

#pragma once

#include <vector>

#include "platform/text/CanvasGeometry.h"

namespace tavorin {

// An outline in canvas space, recorded so that it can be built without a
// canvas and replayed into one (as a clip or a fill).
class VectorPath {
 public:
  enum class Verb { moveTo, lineTo, close, ellipse, roundedRect };
  struct Element {
    Verb verb;
    CanvasPoint point;  // moveTo, lineTo
    CanvasRect rect;  // ellipse, roundedRect
    double radius = 0;  // roundedRect
  };

  void moveTo(CanvasPoint p) { elements_.push_back({Verb::moveTo, p, {}}); }
  void lineTo(CanvasPoint p) { elements_.push_back({Verb::lineTo, p, {}}); }
  void close() { elements_.push_back({Verb::close, {}, {}}); }
  // A closed polygon through the points, in order.
  void addPolygon(const std::vector<CanvasPoint>& points);
  void addRect(CanvasRect r);
  // The ellipse inscribed in `r`.
  void addEllipse(CanvasRect r) { elements_.push_back({Verb::ellipse, {}, r}); }
  // Corners of `radius`, which is clamped to half the shorter side.
  void addRoundedRect(CanvasRect r, double radius) { elements_.push_back({Verb::roundedRect, {}, r, radius}); }

  const std::vector<Element>& elements() const { return elements_; }

 private:
  std::vector<Element> elements_;
};

}  // namespace tavorin

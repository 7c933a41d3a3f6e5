#pragma once

namespace tavorin {

// Plain values of the vector canvas, in pixels with the origin at the bottom
// left and y growing upward.
struct CanvasPoint {
  double x = 0;
  double y = 0;
  friend bool operator==(const CanvasPoint&, const CanvasPoint&) = default;
};

struct CanvasRect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  double midX() const { return x + width / 2; }
  double midY() const { return y + height / 2; }
  CanvasPoint center() const { return {midX(), midY()}; }
  CanvasRect insetBy(double d) const { return {x + d, y + d, width - 2 * d, height - 2 * d}; }
  friend bool operator==(const CanvasRect&, const CanvasRect&) = default;
};

// Components from 0 to 1, alpha not premultiplied.
struct CanvasColor {
  double r = 0;
  double g = 0;
  double b = 0;
  double a = 1;
  friend bool operator==(const CanvasColor&, const CanvasColor&) = default;
};

}  // namespace tavorin

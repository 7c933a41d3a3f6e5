#pragma once

#include "model/Geometry.h"

namespace tavorin {

// Four-corner perspective placement of a layer, in canvas space.
struct CornerPin {
  Point topLeft{0, 0};
  Point topRight{1, 0};
  Point bottomLeft{0, 1};
  Point bottomRight{1, 1};

  // The pin that leaves the box as it is; stands in for a missing pin in interpolation.
  static CornerPin unit() { return {}; }
  friend bool operator==(const CornerPin&, const CornerPin&) = default;
};

}  // namespace tavorin

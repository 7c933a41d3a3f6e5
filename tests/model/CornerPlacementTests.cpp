#include "model/Corner.h"

#include <gtest/gtest.h>

namespace tavorin {
namespace {

// The inspector's margin.
constexpr double kMargin = 0.08;

// The layer's width serves both axes: y uses w too, not a height.
TEST(CornerPlacement, EachCornerSitsHalfAMarginFromBothEdges) {
  const double w = 0.3;  // near edge 0.15 + 0.04, far edge 1 - 0.19
  struct Case {
    Corner corner;
    double x;
    double y;
  };
  for (const Case& c : {Case{Corner::topLeft, 0.19, 0.19}, Case{Corner::topRight, 0.81, 0.19},
                        Case{Corner::bottomLeft, 0.19, 0.81}, Case{Corner::bottomRight, 0.81, 0.81}}) {
    SCOPED_TRACE(static_cast<int>(c.corner));
    const Point p = cornerPlacement(c.corner, w, kMargin);
    EXPECT_DOUBLE_EQ(p.x, c.x);
    EXPECT_DOUBLE_EQ(p.y, c.y);
  }
}

}  // namespace
}  // namespace tavorin

#include "model/Corner.h"

namespace tavorin {

Point cornerPlacement(Corner corner, double width, double margin) {
  const double nearEdge = width / 2 + margin / 2;
  const double farEdge = 1 - width / 2 - margin / 2;
  const bool left = corner == Corner::topLeft || corner == Corner::bottomLeft;
  const bool top = corner == Corner::topLeft || corner == Corner::topRight;
  return {left ? nearEdge : farEdge, top ? nearEdge : farEdge};
}

}  // namespace tavorin

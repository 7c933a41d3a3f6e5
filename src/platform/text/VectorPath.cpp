#include "platform/text/VectorPath.h"

namespace tavorin {

void VectorPath::addPolygon(const std::vector<CanvasPoint>& points) {
  if (points.empty()) return;
  moveTo(points.front());
  for (std::size_t i = 1; i < points.size(); ++i) lineTo(points[i]);
  close();
}

void VectorPath::addRect(CanvasRect r) {
  addPolygon({{r.x, r.y}, {r.x + r.width, r.y}, {r.x + r.width, r.y + r.height}, {r.x, r.y + r.height}});
}

}  // namespace tavorin

#include "model/LayerMasks.h"

namespace tavorin {

bool addMaskRegion(LayerState& layer, const std::vector<Point>& region) {
  if (region.size() < 3) return false;
  layer.maskPolygons.edit().push_back(region);
  if (layer.maskMode == MaskMode::none) layer.maskMode = MaskMode::exclude;
  return true;
}

}  // namespace tavorin

#pragma once

#include <vector>

#include "model/Geometry.h"
#include "model/LayerState.h"

namespace tavorin {

// Adds a closed region, in the space of maskPolygons, to the layer's mask; a
// layer that had no mask mode then excludes its regions. A region needs three
// points: false, and the layer as it was, with fewer.
bool addMaskRegion(LayerState& layer, const std::vector<Point>& region);

}  // namespace tavorin

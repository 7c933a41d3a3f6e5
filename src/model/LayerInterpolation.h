#pragma once

#include "model/LayerState.h"
#include "model/RenderLayer.h"

namespace tavorin {

// The layer on its way from `from` to `to` at `p` (0 gives from's place, 1
// to's). Geometry, colours and radii move linearly; keying is `to`'s from the
// first frame; a changing flip turns the layer over with zero extent at the
// midpoint; masks do not travel. Always `fill`, so the box is the visible image.
RenderLayer interpolateLayer(const LayerState& from, const LayerState& to, float p);

}  // namespace tavorin

#pragma once

#include "model/Geometry.h"
#include "model/LayerState.h"

namespace tavorin {

// Moves a layer's crop into its geometry as the operator leaves crop editing:
// the cropped part stays where it showed on the whole frame, and the box
// becomes exactly that part. `sourcePixels` is the source's frame size and
// `canvasAspect` the canvas's width over height. False, and the layer as it
// was, when the crop is the whole frame or within a thousandth of it.
bool bakeCrop(LayerState& layer, Size sourcePixels, double canvasAspect);

}  // namespace tavorin

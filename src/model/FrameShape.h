#pragma once

#include "model/Geometry.h"
#include "model/LayerState.h"

namespace tavorin {

// The square and circle presets: crops the layer about its centre to
// `shapeAspect` (width over height, in pixels), gives its box that shape on the
// canvas (no taller than 0.95) and rounds its corners by `radius`.
// `sourcePixels` without area counts as a frame of the canvas's shape. False,
// and the layer as it was, for an aspect that is not positive.
bool applyFrameShape(LayerState& layer, double shapeAspect, float radius, Size sourcePixels, double canvasAspect);

}  // namespace tavorin

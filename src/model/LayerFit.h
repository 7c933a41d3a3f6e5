#pragma once

#include "model/Geometry.h"

namespace tavorin {

// The box an image of `pixelWidth` x `pixelHeight` takes inside a layer box of
// `boxWidth` x `boxHeight` (canvas fractions) when it keeps its aspect: the full
// width with a shorter height, or the full height with a narrower width. Worked
// in 32-bit floats like the compositor, but for the pixel ratio; a frame without
// pixels leaves the box as it is.
Size fitSize(float boxWidth, float boxHeight, double pixelWidth, double pixelHeight, float canvasAspect);

}  // namespace tavorin

#pragma once

#include "model/Geometry.h"

namespace tavorin {

// The four placement shortcuts of the layer inspector.
enum class Corner { topLeft, topRight, bottomLeft, bottomRight };

// The `center` of a layer of width `width` snapped to `corner` with `margin`.
// The width serves both axes.
Point cornerPlacement(Corner corner, double width, double margin);

}  // namespace tavorin

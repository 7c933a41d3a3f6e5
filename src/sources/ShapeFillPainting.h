#pragma once

#include "model/ShapeFill.h"
#include "platform/text/CanvasGeometry.h"
#include "platform/text/VectorCanvas.h"

namespace tavorin {

// Paints `rect` with `fill` under whatever clip the canvas has: a shape's
// paint and a title's background panel.
void paintShapeFill(VectorCanvas& canvas, const ShapeFill& fill, CanvasRect rect);

// `color` with its alpha multiplied by `opacity`.
CanvasColor canvasColor(const RGBAColor& color, double opacity = 1);

}  // namespace tavorin

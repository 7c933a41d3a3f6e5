#include "model/FrameShape.h"

namespace tavorin {

bool applyFrameShape(LayerState& layer, double shapeAspect, float radius, Size sourcePixels, double canvasAspect) {
  if (shapeAspect <= 0) return false;
  const double a = sourcePixels.width > 0 && sourcePixels.height > 0 ? sourcePixels.width / sourcePixels.height
                                                                     : canvasAspect;
  if (a <= shapeAspect) {
    const double h = a / shapeAspect;
    layer.cropRect = Rect{{0, (1 - h) / 2}, {1, h}};
  } else {
    const double w = shapeAspect / a;
    layer.cropRect = Rect{{(1 - w) / 2, 0}, {w, 1}};
  }
  layer.fill = true;
  layer.size.height = canvasAspect * layer.size.width / shapeAspect;
  if (layer.size.height > 0.95) {
    layer.size.height = 0.95;
    layer.size.width = shapeAspect * 0.95 / canvasAspect;
  }
  layer.corners = CornerRadii::uniform(radius);
  return true;
}

}  // namespace tavorin

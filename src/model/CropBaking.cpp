#include "model/CropBaking.h"

#include "model/LayerFit.h"

namespace tavorin {

bool bakeCrop(LayerState& layer, Size sourcePixels, double canvasAspect) {
  const Rect crop = layer.cropRect;
  if (crop.width() >= 0.999 && crop.height() >= 0.999) return false;
  const Size whole = fitSize(static_cast<float>(layer.size.width), static_cast<float>(layer.size.height),
                             sourcePixels.width, sourcePixels.height, static_cast<float>(canvasAspect));
  const Point c = layer.center;
  layer.center.x = (c.x - whole.width / 2) + whole.width * (crop.minX() + crop.width() / 2);
  layer.center.y = (c.y - whole.height / 2) + whole.height * (crop.minY() + crop.height() / 2);
  layer.size = {whole.width * crop.width(), whole.height * crop.height()};
  layer.fill = true;
  return true;
}

}  // namespace tavorin

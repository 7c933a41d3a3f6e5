#include "model/LayerFit.h"

#include <algorithm>

namespace tavorin {

Size fitSize(float boxWidth, float boxHeight, double pixelWidth, double pixelHeight, float canvasAspect) {
  if (pixelWidth <= 0 || pixelHeight <= 0) return {boxWidth, boxHeight};
  // The image's width-to-height ratio in canvas fractions.
  const auto r = static_cast<float>((pixelWidth / pixelHeight) / std::max(static_cast<double>(canvasAspect), 0.0001));
  const float b = boxWidth / std::max(boxHeight, 0.0001f);
  if (b < r) return {boxWidth, boxWidth / r};
  return {r * boxHeight, boxHeight};
}

}  // namespace tavorin

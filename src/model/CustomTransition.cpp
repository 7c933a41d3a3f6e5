#include "model/CustomTransition.h"

namespace tavorin {

std::vector<RenderLayer> CustomTransition::layers(float p) const {
  std::vector<RenderLayer> out;
  appendLayers(out, p);
  return out;
}

void CustomTransition::appendLayers(std::vector<RenderLayer>& out, float p) const {
  for (const auto& track : tracks) {
    if (auto layer = track.layer(p)) out.push_back(std::move(*layer));
  }
}

}  // namespace tavorin

#include "core/model/MixerScene.h"

#include <algorithm>

namespace tavorin {

std::vector<RenderLayer> MixerScene::renderLayers(double time, float opacity) const {
  std::vector<RenderLayer> out;
  appendRenderLayers(out, time, opacity);
  return out;
}

void MixerScene::appendRenderLayers(std::vector<RenderLayer>& out, double time, float opacity) const {
  // Pointers into `layers` keep the sort from copying whole layers. A scene has
  // dozens of layers at most, so the small index vector is cheap.
  std::vector<const LayerState*> visible;
  visible.reserve(layers.size());
  for (const auto& layer : layers) {
    if (!layer.hidden) visible.push_back(&layer);
  }
  std::stable_sort(visible.begin(), visible.end(),
                   [](const LayerState* a, const LayerState* b) { return a->zOrder < b->zOrder; });
  out.reserve(out.size() + visible.size());
  for (const LayerState* layer : visible) {
    RenderLayer r = layer->toRenderLayer();
    layer->animation.apply(r, time);
    r.opacity *= opacity;
    out.push_back(std::move(r));
  }
}

std::optional<MixerScene> MixerScene::verticalScene() const {
  if (!verticalLayers) return std::nullopt;
  MixerScene view;
  view.name = name;
  view.transition = transition;
  view.layers = *verticalLayers;
  view.groups = verticalGroups.value_or(std::vector<LayerGroup>{});
  return view;
}

const LayerState* MixerScene::layer(const Uuid& layerID) const {
  auto it = std::find_if(layers.begin(), layers.end(), [&](const LayerState& l) { return l.id == layerID; });
  return it == layers.end() ? nullptr : &*it;
}

LayerState* MixerScene::layer(const Uuid& layerID) {
  return const_cast<LayerState*>(std::as_const(*this).layer(layerID));
}

}  // namespace tavorin

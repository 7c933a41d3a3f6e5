#include "model/MixerScene.h"

#include <algorithm>

#include "model/StackOrder.h"

namespace tavorin {

std::vector<RenderLayer> MixerScene::renderLayers(double time, float opacity) const {
  std::vector<RenderLayer> out;
  appendRenderLayers(out, time, opacity);
  return out;
}

void MixerScene::appendRenderLayers(std::vector<RenderLayer>& out, double time, float opacity) const {
  out.reserve(out.size() + layers.size());
  forEachInStackOrder(layers, [&](const LayerState& layer) {
    if (layer.hidden) return;
    RenderLayer r = layer.toRenderLayer();
    layer.animation.apply(r, time);
    r.opacity *= opacity;
    out.push_back(std::move(r));
  });
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

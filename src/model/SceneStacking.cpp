#include "model/SceneStacking.h"

#include <algorithm>
#include <set>

#include "model/LayerGroups.h"

namespace tavorin {

namespace {

Uuid addOnTop(MixerScene& scene, LayerState layer) {
  layer.zOrder = zOrderAboveAll(scene);
  const Uuid id = layer.id;
  scene.layers.push_back(std::move(layer));
  return id;
}

}  // namespace

int zOrderAboveAll(const MixerScene& scene) {
  if (scene.layers.empty()) return 0;
  const auto top = std::max_element(scene.layers.begin(), scene.layers.end(),
                                    [](const LayerState& a, const LayerState& b) { return a.zOrder < b.zOrder; });
  return top->zOrder + 1;
}

void applyLayerOrder(MixerScene& scene, const std::vector<Uuid>& topFirst) {
  const int count = static_cast<int>(topFirst.size());
  for (int i = 0; i < count; ++i) {
    for (auto& layer : scene.layers) {
      if (layer.id == topFirst[static_cast<std::size_t>(i)]) layer.zOrder = count - 1 - i;
    }
  }
}

void gatherGroupsInStack(MixerScene& scene) {
  std::vector<const LayerState*> stack;
  stack.reserve(scene.layers.size());
  for (const auto& layer : scene.layers) stack.push_back(&layer);
  std::stable_sort(stack.begin(), stack.end(),
                   [](const LayerState* a, const LayerState* b) { return a->zOrder < b->zOrder; });
  std::reverse(stack.begin(), stack.end());

  std::vector<Uuid> order;
  order.reserve(stack.size());
  std::set<Uuid> placedGroups;
  for (const LayerState* layer : stack) {
    if (!layer->groupID) {
      order.push_back(layer->id);
      continue;
    }
    if (!placedGroups.insert(*layer->groupID).second) continue;
    for (const LayerState* member : stack) {
      if (member->groupID == layer->groupID) order.push_back(member->id);
    }
  }
  applyLayerOrder(scene, order);
}

Uuid addNewLayer(MixerScene& scene, const std::string& sourceID) {
  LayerState layer = LayerState::make(sourceID);
  layer.size = {0.5, 0.5};
  return addOnTop(scene, std::move(layer));
}

void removeLayer(MixerScene& scene, const Uuid& layerID) {
  std::erase_if(scene.layers, [&](const LayerState& layer) { return layer.id == layerID; });
  pruneEmptyGroups(scene);
}

Uuid addDuplicate(MixerScene& scene, const LayerState& layer) {
  LayerState copy = layer;
  copy.id = Uuid::make();
  copy.center = {std::min(layer.center.x + 0.04, 0.92), std::min(layer.center.y + 0.04, 0.92)};
  return addOnTop(scene, std::move(copy));
}

Uuid addPasted(MixerScene& scene, const LayerState& layer) {
  LayerState copy = layer;
  copy.id = Uuid::make();
  copy.groupID = std::nullopt;
  return addOnTop(scene, std::move(copy));
}

}  // namespace tavorin

#include "model/LayerGroups.h"

#include <algorithm>

#include "base/Text.h"
#include "model/SceneStacking.h"

namespace tavorin {

namespace {

bool hasGroup(const MixerScene& scene, const Uuid& groupID) {
  return std::any_of(scene.groups.begin(), scene.groups.end(), [&](const LayerGroup& g) { return g.id == groupID; });
}

bool everyMemberHas(const MixerScene& scene, const Uuid& groupID, bool LayerState::*flag) {
  bool any = false;
  for (const auto& layer : scene.layers) {
    if (layer.groupID != groupID) continue;
    if (!(layer.*flag)) return false;
    any = true;
  }
  return any;
}

void setOnMembers(MixerScene& scene, const Uuid& groupID, bool LayerState::*flag, bool on) {
  for (auto& layer : scene.layers) {
    if (layer.groupID == groupID) layer.*flag = on;
  }
}

}  // namespace

std::optional<Uuid> groupLayers(MixerScene& scene, const std::vector<Uuid>& ids) {
  if (ids.size() < 2) return std::nullopt;
  LayerGroup group;
  group.name = "Group " + std::to_string(scene.groups.size() + 1);
  scene.groups.push_back(group);
  for (auto& layer : scene.layers) {
    if (std::find(ids.begin(), ids.end(), layer.id) == ids.end()) continue;
    layer.groupID = group.id;
    layer.hidden = false;
  }
  pruneEmptyGroups(scene);
  gatherGroupsInStack(scene);
  return group.id;
}

bool renameGroup(MixerScene& scene, const Uuid& groupID, const std::string& name) {
  std::string newName = trimmed(name);
  if (newName.empty()) return false;
  for (auto& group : scene.groups) {
    if (group.id != groupID) continue;
    group.name = std::move(newName);
    return true;
  }
  return false;
}

void ungroup(MixerScene& scene, const Uuid& groupID) {
  for (auto& layer : scene.layers) {
    if (layer.groupID != groupID) continue;
    layer.groupID = std::nullopt;
    layer.hidden = false;
  }
  std::erase_if(scene.groups, [&](const LayerGroup& g) { return g.id == groupID; });
}

bool moveIntoGroup(MixerScene& scene, const Uuid& layerID, const Uuid& groupID) {
  LayerState* layer = scene.layer(layerID);
  if (!layer || !hasGroup(scene, groupID)) return false;
  layer->groupID = groupID;
  pruneEmptyGroups(scene);
  gatherGroupsInStack(scene);
  return true;
}

bool removeFromGroup(MixerScene& scene, const Uuid& layerID) {
  LayerState* layer = scene.layer(layerID);
  if (!layer) return false;
  layer->groupID = std::nullopt;
  pruneEmptyGroups(scene);
  gatherGroupsInStack(scene);
  return true;
}

void pruneEmptyGroups(MixerScene& scene) {
  std::erase_if(scene.groups, [&](const LayerGroup& group) {
    return std::none_of(scene.layers.begin(), scene.layers.end(),
                        [&](const LayerState& layer) { return layer.groupID == group.id; });
  });
}

void setGroupHidden(MixerScene& scene, const Uuid& groupID, bool hidden) {
  setOnMembers(scene, groupID, &LayerState::hidden, hidden);
}

void setGroupLocked(MixerScene& scene, const Uuid& groupID, bool locked) {
  setOnMembers(scene, groupID, &LayerState::locked, locked);
}

bool isGroupHidden(const MixerScene& scene, const Uuid& groupID) {
  return everyMemberHas(scene, groupID, &LayerState::hidden);
}

bool isGroupLocked(const MixerScene& scene, const Uuid& groupID) {
  return everyMemberHas(scene, groupID, &LayerState::locked);
}

void moveGroup(MixerScene& scene, const Uuid& groupID, const std::map<Uuid, Point>& startCenters, double dx,
               double dy) {
  for (auto& layer : scene.layers) {
    if (layer.groupID != groupID) continue;
    auto start = startCenters.find(layer.id);
    if (start == startCenters.end()) continue;
    layer.center = {start->second.x + dx, start->second.y + dy};
  }
}

void resizeGroup(MixerScene& scene, const Uuid& groupID, const std::map<Uuid, LayerState>& startLayers,
                 Point anchor, Size scale) {
  for (auto& layer : scene.layers) {
    if (layer.groupID != groupID) continue;
    auto start = startLayers.find(layer.id);
    if (start == startLayers.end()) continue;
    const LayerState& from = start->second;
    layer.center = {anchor.x + scale.width * (from.center.x - anchor.x),
                    anchor.y + scale.height * (from.center.y - anchor.y)};
    layer.size = {std::max(scale.width * from.size.width, 0.02), std::max(scale.height * from.size.height, 0.02)};
    layer.fill = true;
  }
}

}  // namespace tavorin

#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/Uuid.h"
#include "model/Geometry.h"
#include "model/MixerScene.h"

namespace tavorin {

// Groups of a scene's layers. Membership lies in each layer's groupID, and a
// group's layers always lie next to each other in the stack.

// Groups the listed layers as "Group N", N one more than the scene's groups,
// and shows those that were hidden. Nothing for fewer than two ids.
std::optional<Uuid> groupLayers(MixerScene& scene, const std::vector<Uuid>& ids);
// False, and nothing renamed, for an unknown group or a name of blanks alone.
bool renameGroup(MixerScene& scene, const Uuid& groupID, const std::string& name);
// The members leave the group, shown; the group goes.
void ungroup(MixerScene& scene, const Uuid& groupID);
// False when the layer or the group is unknown.
bool moveIntoGroup(MixerScene& scene, const Uuid& layerID, const Uuid& groupID);
// False when the layer is unknown.
bool removeFromGroup(MixerScene& scene, const Uuid& layerID);
// Drops the groups no layer belongs to.
void pruneEmptyGroups(MixerScene& scene);

void setGroupHidden(MixerScene& scene, const Uuid& groupID, bool hidden);
void setGroupLocked(MixerScene& scene, const Uuid& groupID, bool locked);
// True when the group has members and every one of them is hidden (locked).
bool isGroupHidden(const MixerScene& scene, const Uuid& groupID);
bool isGroupLocked(const MixerScene& scene, const Uuid& groupID);

// Members listed in `startCenters` move by (dx, dy) from where a drag began.
void moveGroup(MixerScene& scene, const Uuid& groupID, const std::map<Uuid, Point>& startCenters, double dx,
               double dy);
// Members listed in `startLayers` scale about `anchor` by `scale` per axis from
// how a drag found them, no smaller than 0.02 a side, and fill their boxes.
void resizeGroup(MixerScene& scene, const Uuid& groupID, const std::map<Uuid, LayerState>& startLayers,
                 Point anchor, Size scale);

}  // namespace tavorin

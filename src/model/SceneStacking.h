#pragma once

#include <string>
#include <vector>

#include "base/Uuid.h"
#include "model/MixerScene.h"

namespace tavorin {

// Where layers lie in a scene's stack. New layers go on top; removing a layer
// also drops a group it leaves empty.

// One above the highest zOrder; 0 in an empty scene.
int zOrderAboveAll(const MixerScene& scene);
// `topFirst` lists layer ids from the top of the stack down; they are numbered
// from count - 1 down to 0 and the layers not listed keep their numbers.
void applyLayerOrder(MixerScene& scene, const std::vector<Uuid>& topFirst);
// Renumbers the stack so that each group's layers lie together, where the
// group's topmost member stood; the other layers keep their places.
void gatherGroupsInStack(MixerScene& scene);

// A layer of `sourceID` half the canvas each way, on top.
Uuid addNewLayer(MixerScene& scene, const std::string& sourceID);
void removeLayer(MixerScene& scene, const Uuid& layerID);
// A copy of `layer` with an id of its own, a step down and to the right (no
// further than 0.92), on top.
Uuid addDuplicate(MixerScene& scene, const LayerState& layer);
// A copy of `layer` with an id of its own, in no group, on top.
Uuid addPasted(MixerScene& scene, const LayerState& layer);

}  // namespace tavorin

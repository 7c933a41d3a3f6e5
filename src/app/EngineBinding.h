#pragma once

#include <map>
#include <utility>
#include <vector>

#include "base/Published.h"
#include "base/Uuid.h"
#include "compositor/CompositorEngine.h"
#include "model/MixerScene.h"
#include "switcher/SwitcherEngine.h"

namespace tavorin {

// Registers a switcher's plans with the frame clock according to its role.
// The closures read only the switcher's snapshot store and a copy of its
// studio-mode flag, which the returned subscription keeps current.
Subscription bindToEngine(SwitcherEngine& switcher, CompositorEngine& engine);

// Thumbnail scenes of the layout library: layouts with layers as they stand,
// and vertical-only layouts in their vertical view.
std::pair<std::map<Uuid, MixerScene>, std::map<Uuid, MixerScene>> thumbnailScenes(
    const std::vector<MixerScene>& layouts);

}  // namespace tavorin

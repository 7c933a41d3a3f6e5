#pragma once

#include <vector>

#include "base/Uuid.h"
#include "model/LayerLook.h"

namespace tavorin {

// A layer as the compositor draws it: stacking, grouping, visibility and motion
// are already resolved. Never stored.
struct RenderLayer : LayerLook {
  Uuid id;

  friend bool operator==(const RenderLayer&, const RenderLayer&) = default;
};

// What one canvas draws for one frame: layers bottom first.
struct RenderPlan {
  std::vector<RenderLayer> layers;
  friend bool operator==(const RenderPlan&, const RenderPlan&) = default;
};

}  // namespace tavorin

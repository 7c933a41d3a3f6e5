#pragma once

#include "model/LayerState.h"

namespace tavorin {

// One pose of a custom transition's track: the whole layer at `time`.
struct TransitionKeyframe {
  double time = 0;  // fraction of the transition's duration, 0 to 1
  LayerState state;
  double yawDeg = 0;    // pose of a 3D text source
  double pitchDeg = 0;

  friend bool operator==(const TransitionKeyframe&, const TransitionKeyframe&) = default;
};

}  // namespace tavorin

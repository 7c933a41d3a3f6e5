#pragma once

#include <functional>
#include <optional>

#include "base/Uuid.h"
#include "switcher/CustomTransition.h"

namespace tavorin {

// One custom transition fired over Program without a change of scene.
struct FiredTransitionRun {
  Uuid id;  // the transition's id
  CustomTransition custom;
  double startTime = 0;                // host time
  std::optional<double> holdAt;        // fraction at which it waits; absent when it never does
  std::optional<double> releaseTime;   // host time of the release
  std::function<void(float)> poseUpdate;  // drives a 3D text source; called on the render thread
};

}  // namespace tavorin

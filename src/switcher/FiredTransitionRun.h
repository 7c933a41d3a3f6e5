#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "base/Uuid.h"
#include "model/CustomTransition.h"
#include "model/RenderLayer.h"

namespace tavorin {

// One custom transition fired over Program without a change of scene. Runs to
// its end, or to its hold point and waits there until it is released.
struct FiredTransitionRun {
  // How long a finished run stays before it counts as gone.
  static constexpr double kGrace = 0.3;

  Uuid id;  // the transition's id
  CustomTransition custom;
  double startTime = 0;                // host time
  std::optional<double> holdAt;        // fraction at which it waits; absent when it never does
  std::optional<double> releaseTime;   // host time of the release
  std::function<void(float)> poseUpdate;  // drives a 3D text source; called on the render thread

  // Host time from which the run is over; none while it holds unreleased.
  std::optional<double> expiry() const;
  bool expired(double time) const;
  // Fraction of the transition shown at `time`: up to the hold point while
  // holding, then on from there after the release.
  float progress(double time) const;
};

// The layers of every run that has not expired at `time`, each run's tracks in
// order; drives each run's 3D text pose on the way.
void appendFiredLayers(const std::vector<FiredTransitionRun>& runs, double time, std::vector<RenderLayer>& out);

}  // namespace tavorin

#include "switcher/FiredTransitionRun.h"

#include <algorithm>

namespace tavorin {

std::optional<double> FiredTransitionRun::expiry() const {
  if (!holdAt) return startTime + custom.duration + kGrace;
  if (!releaseTime) return std::nullopt;
  return *releaseTime + (1 - *holdAt) * custom.duration + kGrace;
}

bool FiredTransitionRun::expired(double time) const {
  const auto end = expiry();
  return end && time > *end;
}

float FiredTransitionRun::progress(double time) const {
  const double duration = custom.duration;
  if (duration <= 0) return 1;
  double p = 0;
  if (!holdAt) {
    p = std::min((time - startTime) / duration, 1.0);
  } else if (releaseTime) {
    p = std::min(*holdAt + (time - *releaseTime) / duration, 1.0);
  } else {
    p = std::min((time - startTime) / duration, *holdAt);
  }
  return static_cast<float>(p);
}

void appendFiredLayers(const std::vector<FiredTransitionRun>& runs, double time, std::vector<RenderLayer>& out) {
  for (const FiredTransitionRun& run : runs) {
    if (run.expired(time)) continue;
    const float p = run.progress(time);
    if (run.poseUpdate) run.poseUpdate(p);
    run.custom.appendLayers(out, p);
  }
}

}  // namespace tavorin

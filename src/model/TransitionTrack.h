#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/Uuid.h"
#include "model/RenderLayer.h"
#include "model/TransitionKeyframe.h"

namespace tavorin {

// Yaw and pitch of a 3D text source, in degrees.
struct TextPose {
  double yawDeg = 0;
  double pitchDeg = 0;
};

// One source moved through keyframes over a custom transition.
struct TransitionTrack {
  Uuid id = Uuid::make();
  std::string sourceID;
  std::vector<TransitionKeyframe> keyframes;  // any order; sorted by time when drawn

  // The track's layer at fraction `p` of the transition: held at the first and
  // last keyframes outside their times, eased between neighbours in between.
  // Nothing without keyframes.
  std::optional<RenderLayer> layer(float p) const;
  // True when some keyframe turns a 3D text source (a yaw or pitch not 0).
  bool posesText() const;
  // Yaw and pitch at `p`, eased as the layer is; nothing without keyframes.
  std::optional<TextPose> pose(float p) const;

  friend bool operator==(const TransitionTrack&, const TransitionTrack&) = default;
};

}  // namespace tavorin

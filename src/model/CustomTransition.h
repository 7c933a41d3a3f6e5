#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/Uuid.h"
#include "model/RenderLayer.h"
#include "model/TransitionSound.h"
#include "model/TransitionTrack.h"

namespace tavorin {

// A keyframed animation of layers played over the change from one scene to the
// next. All times inside it are fractions of `duration`.
struct CustomTransition {
  Uuid id = Uuid::make();
  std::string name = "Transition";
  std::vector<TransitionTrack> tracks;  // drawn in list order, the last on top
  double duration = 0.8;                // seconds
  double cutPoint = 0.5;                // where the base picture changes to the new scene
  std::optional<double> holdPoint;      // where a fired run waits for its release
  std::vector<TransitionSound> sounds;

  // The tracks' layers at fraction `p`; tracks without keyframes give none.
  std::vector<RenderLayer> layers(float p) const;
  void appendLayers(std::vector<RenderLayer>& out, float p) const;

  friend bool operator==(const CustomTransition&, const CustomTransition&) = default;
};

}  // namespace tavorin

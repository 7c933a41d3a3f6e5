#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "model/CustomTransition.h"
#include "model/MixerScene.h"
#include "model/RenderLayer.h"
#include "model/TransitionKind.h"

namespace tavorin {

// A running take: both scenes and how to draw the way between them. Built on
// the main thread, immutable from then on, evaluated by the render thread on
// every tick. Nothing here changes a scene; the engine's completion puts `to`
// on Program.
struct ActiveTransition {
  TransitionKind kind = TransitionKind::crossfade;
  double startTime = 0;  // host time
  double duration = 0.5;  // seconds
  MixerScene from;        // leaving; for matchMove the copy prepared for motion
  MixerScene to;          // arriving; likewise
  std::optional<CustomTransition> custom;  // when set, `kind` is not used
  // Poses a 3D text source at the progress; called before layers are built.
  std::function<void(float)> poseUpdate;

  // 0 to 1, eased in and out for the built-in kinds, linear for a custom one
  // (its tracks ease themselves). 1 from the end on, and at once without a duration.
  float progress(double time) const;

  // The drawing list at progress `p`; running layer animations are evaluated at
  // host time `now`.
  std::vector<RenderLayer> layers(float p, double now) const;
  void appendLayers(std::vector<RenderLayer>& out, float p, double now) const;

  // An upper bound of the number of layers `layers` gives, to reserve once.
  std::size_t layerCountBound() const;
};

}  // namespace tavorin

#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "model/LayerState.h"
#include "model/MixerScene.h"
#include "model/RenderLayer.h"
#include "switcher/ActiveTransition.h"
#include "switcher/FiredTransitionRun.h"

namespace tavorin {

// Where a switcher (main thread) and the frame clock (render thread) meet. The
// engine publishes immutable copies of its scenes; the render thread takes
// references to them under the lock and builds its plans after releasing it.
// The lock is held only for a few reference counts, never for a deep copy, an
// allocation or a release of a scene.
class SwitcherSnapshotStore {
 public:
  using FiredRuns = std::vector<FiredTransitionRun>;
  // The transition builder's scrub position.
  struct Scrub {
    CustomTransition custom;
    float progress = 0;
  };

  SwitcherSnapshotStore();

  // Render thread. Each returns a list built anew and allocates nothing else.
  // Program: the running transition (or Program), then the fire graphics, then
  // the transitions fired over it. A transition that has outrun its end by
  // 0.3 s is dropped here, in case its completion never comes; a fired run past
  // its expiry is no longer drawn (the switcher removes it).
  RenderPlan programPlan(double time) const;
  // Preview, with the fire graphics and fired transitions over it when they are shown there too.
  RenderPlan previewPlan(double time) const;
  // The studio canvas: the running transition alone, else the builder's scrub
  // position alone, else Preview.
  RenderPlan studioPlan(double time) const;
  // The running transition's layers alone; nothing when none runs.
  std::optional<std::vector<RenderLayer>> activeTransitionLayers(double time) const;

  // Main thread, for the engine.
  void publish(std::shared_ptr<const MixerScene> program, std::shared_ptr<const MixerScene> preview);
  void setActive(std::shared_ptr<const ActiveTransition> transition);
  void clearActive();
  // Replaces the fire scene by a fresh one named "Fire" holding `layers`.
  void setFire(std::vector<LayerState> layers);
  void setFireInPreview(bool on);
  void setFiredRuns(FiredRuns runs);
  void setScrub(std::optional<Scrub> scrub);

  // Copies of what is held, for any thread.
  std::shared_ptr<const MixerScene> program() const;
  std::shared_ptr<const MixerScene> preview() const;
  std::shared_ptr<const MixerScene> fire() const;
  std::shared_ptr<const ActiveTransition> active() const;
  bool fireInPreview() const;
  std::shared_ptr<const FiredRuns> firedRuns() const;

 private:
  mutable std::mutex lock_;
  std::shared_ptr<const MixerScene> program_;
  std::shared_ptr<const MixerScene> preview_;
  std::shared_ptr<const MixerScene> fire_;
  // The render thread's reads drop a transition that outran its completion.
  mutable std::shared_ptr<const ActiveTransition> active_;
  bool fireInPreview_ = false;
  std::shared_ptr<const FiredRuns> firedRuns_;
  std::shared_ptr<const Scrub> scrub_;
};

}  // namespace tavorin

#include "switcher/SwitcherSnapshotStore.h"

namespace tavorin {

namespace {

// The backstop: how long past its end a transition may stay without a completion.
constexpr double kActiveBackstop = 0.3;

}  // namespace

SwitcherSnapshotStore::SwitcherSnapshotStore()
    : program_(std::make_shared<const MixerScene>()),
      preview_(std::make_shared<const MixerScene>()),
      fire_(std::make_shared<const MixerScene>()) {}

RenderPlan SwitcherSnapshotStore::programPlan(double time) {
  std::shared_ptr<const MixerScene> program;
  std::shared_ptr<const MixerScene> fire;
  std::shared_ptr<const ActiveTransition> active;
  std::shared_ptr<const ActiveTransition> expired;  // released after the lock
  {
    std::lock_guard guard(lock_);
    program = program_;
    fire = fire_;
    if (active_ && time > active_->startTime + active_->duration + kActiveBackstop) expired = std::move(active_);
    active = active_;
  }
  RenderPlan plan;
  if (active) {
    plan.layers.reserve(active->layerCountBound() + fire->layers.size());
    active->appendLayers(plan.layers, active->progress(time), time);
  } else {
    plan.layers.reserve(program->layers.size() + fire->layers.size());
    program->appendRenderLayers(plan.layers, time, 1);
  }
  fire->appendRenderLayers(plan.layers, time, 1);
  return plan;
}

RenderPlan SwitcherSnapshotStore::previewPlan(double time) {
  std::shared_ptr<const MixerScene> preview;
  std::shared_ptr<const MixerScene> fire;
  {
    std::lock_guard guard(lock_);
    preview = preview_;
    if (fireInPreview_) fire = fire_;
  }
  RenderPlan plan;
  plan.layers.reserve(preview->layers.size() + (fire ? fire->layers.size() : 0));
  preview->appendRenderLayers(plan.layers, time, 1);
  if (fire) fire->appendRenderLayers(plan.layers, time, 1);
  return plan;
}

std::optional<std::vector<RenderLayer>> SwitcherSnapshotStore::activeTransitionLayers(double time) {
  std::shared_ptr<const ActiveTransition> active;
  {
    std::lock_guard guard(lock_);
    active = active_;
  }
  if (!active) return std::nullopt;
  return active->layers(active->progress(time), time);
}

RenderPlan SwitcherSnapshotStore::studioPlan(double time) {
  if (auto layers = activeTransitionLayers(time)) return RenderPlan{std::move(*layers)};
  return previewPlan(time);
}

void SwitcherSnapshotStore::publish(std::shared_ptr<const MixerScene> program,
                                    std::shared_ptr<const MixerScene> preview) {
  {
    std::lock_guard guard(lock_);
    program_.swap(program);
    preview_.swap(preview);
  }
  // The replaced scenes, now in the arguments, are released here, outside the lock.
}

void SwitcherSnapshotStore::setActive(std::shared_ptr<const ActiveTransition> transition) {
  std::lock_guard guard(lock_);
  active_.swap(transition);
}

void SwitcherSnapshotStore::clearActive() {
  std::shared_ptr<const ActiveTransition> old;
  std::lock_guard guard(lock_);
  active_.swap(old);
}

void SwitcherSnapshotStore::setFire(std::vector<LayerState> layers) {
  auto scene = std::make_shared<MixerScene>(MixerScene::named("Fire"));
  scene->layers = std::move(layers);
  std::shared_ptr<const MixerScene> fire = std::move(scene);
  std::lock_guard guard(lock_);
  fire_.swap(fire);
}

void SwitcherSnapshotStore::setFireInPreview(bool on) {
  std::lock_guard guard(lock_);
  fireInPreview_ = on;
}

std::shared_ptr<const MixerScene> SwitcherSnapshotStore::program() const {
  std::lock_guard guard(lock_);
  return program_;
}

std::shared_ptr<const MixerScene> SwitcherSnapshotStore::preview() const {
  std::lock_guard guard(lock_);
  return preview_;
}

std::shared_ptr<const MixerScene> SwitcherSnapshotStore::fire() const {
  std::lock_guard guard(lock_);
  return fire_;
}

std::shared_ptr<const ActiveTransition> SwitcherSnapshotStore::active() const {
  std::lock_guard guard(lock_);
  return active_;
}

bool SwitcherSnapshotStore::fireInPreview() const {
  std::lock_guard guard(lock_);
  return fireInPreview_;
}

}  // namespace tavorin

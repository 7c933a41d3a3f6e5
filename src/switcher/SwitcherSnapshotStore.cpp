#include "switcher/SwitcherSnapshotStore.h"

namespace tavorin {

namespace {

// The backstop: how long past its end a transition may stay without a completion.
constexpr double kActiveBackstop = 0.3;

}  // namespace

SwitcherSnapshotStore::SwitcherSnapshotStore()
    : program_(std::make_shared<const MixerScene>()),
      preview_(std::make_shared<const MixerScene>()),
      fire_(std::make_shared<const MixerScene>()),
      firedRuns_(std::make_shared<const FiredRuns>()) {}

namespace {

std::size_t firedLayerBound(const SwitcherSnapshotStore::FiredRuns& runs) {
  std::size_t count = 0;
  for (const auto& run : runs) count += run.custom.tracks.size();
  return count;
}

}  // namespace

RenderPlan SwitcherSnapshotStore::programPlan(double time) const {
  std::shared_ptr<const MixerScene> program;
  std::shared_ptr<const MixerScene> fire;
  std::shared_ptr<const ActiveTransition> active;
  std::shared_ptr<const ActiveTransition> expired;  // released after the lock
  std::shared_ptr<const FiredRuns> fired;
  {
    std::lock_guard guard(lock_);
    program = program_;
    fire = fire_;
    fired = firedRuns_;
    if (active_ && time > active_->startTime + active_->duration + kActiveBackstop) expired = std::move(active_);
    active = active_;
  }
  RenderPlan plan;
  const std::size_t over = fire->layers.size() + firedLayerBound(*fired);
  if (active) {
    plan.layers.reserve(active->layerCountBound() + over);
    active->appendLayers(plan.layers, active->progress(time), time);
  } else {
    plan.layers.reserve(program->layers.size() + over);
    program->appendRenderLayers(plan.layers, time, 1);
  }
  fire->appendRenderLayers(plan.layers, time, 1);
  appendFiredLayers(*fired, time, plan.layers);
  return plan;
}

RenderPlan SwitcherSnapshotStore::previewPlan(double time) const {
  std::shared_ptr<const MixerScene> preview;
  std::shared_ptr<const MixerScene> fire;
  std::shared_ptr<const FiredRuns> fired;
  {
    std::lock_guard guard(lock_);
    preview = preview_;
    if (fireInPreview_) {
      fire = fire_;
      fired = firedRuns_;
    }
  }
  RenderPlan plan;
  plan.layers.reserve(preview->layers.size() + (fire ? fire->layers.size() + firedLayerBound(*fired) : 0));
  preview->appendRenderLayers(plan.layers, time, 1);
  if (fire) {
    fire->appendRenderLayers(plan.layers, time, 1);
    appendFiredLayers(*fired, time, plan.layers);
  }
  return plan;
}

std::optional<std::vector<RenderLayer>> SwitcherSnapshotStore::activeTransitionLayers(double time) const {
  std::shared_ptr<const ActiveTransition> active;
  {
    std::lock_guard guard(lock_);
    active = active_;
  }
  if (!active) return std::nullopt;
  return active->layers(active->progress(time), time);
}

RenderPlan SwitcherSnapshotStore::studioPlan(double time) const {
  if (auto layers = activeTransitionLayers(time)) return RenderPlan{std::move(*layers)};
  std::shared_ptr<const Scrub> scrub;
  {
    std::lock_guard guard(lock_);
    scrub = scrub_;
  }
  if (scrub) return RenderPlan{scrub->custom.layers(scrub->progress)};
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

void SwitcherSnapshotStore::setFiredRuns(FiredRuns runs) {
  std::shared_ptr<const FiredRuns> next = std::make_shared<const FiredRuns>(std::move(runs));
  std::lock_guard guard(lock_);
  firedRuns_.swap(next);
}

void SwitcherSnapshotStore::setScrub(std::optional<Scrub> scrub) {
  std::shared_ptr<const Scrub> next = scrub ? std::make_shared<const Scrub>(std::move(*scrub)) : nullptr;
  std::lock_guard guard(lock_);
  scrub_.swap(next);
}

std::shared_ptr<const SwitcherSnapshotStore::FiredRuns> SwitcherSnapshotStore::firedRuns() const {
  std::lock_guard guard(lock_);
  return firedRuns_;
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

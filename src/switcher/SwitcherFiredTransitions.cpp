// Custom transitions fired over Program, and the builder's scrub.
#include "switcher/SwitcherEngine.h"

namespace tavorin {

namespace {

// A finish looks a little after the run's end, so that its last frame is drawn.
constexpr double kFinishSlack = 0.35;
constexpr double kFinishRetry = 0.3;
// A hold point this close to the end would hold on the last frame: the run goes through.
constexpr double kLastHoldPoint = 0.99;

}  // namespace

void SwitcherEngine::fireTransition(const Uuid& id) {
  auto it = firedRunsByID_.find(id);
  if (it != firedRunsByID_.end() && it->second.expired(queue_.now())) {
    dropFiredRun(id);
    it = firedRunsByID_.end();
  }
  if (it != firedRunsByID_.end() && firedTransitionIDs_->contains(id) && it->second.holdAt) {
    releaseFiredRun(id);
    return;
  }
  if (!customTransitionLookup) return;
  if (auto custom = customTransitionLookup(id)) startFiredRun(id, *custom);
}

void SwitcherEngine::startFiredRun(const Uuid& id, const CustomTransition& custom) {
  startCustomMedia(custom);
  FiredTransitionRun run;
  run.id = id;
  run.custom = custom;
  run.startTime = queue_.now();
  if (custom.holdPoint && *custom.holdPoint < kLastHoldPoint) run.holdAt = custom.holdPoint;
  if (makePoseUpdate) run.poseUpdate = makePoseUpdate(custom);
  const bool holds = run.holdAt.has_value();
  firedRunsByID_.insert_or_assign(id, std::move(run));
  publishFiredRuns();
  if (!firedTransitionIDs_->contains(id)) firedTransitionIDs_.modify([&](std::set<Uuid>& ids) { ids.insert(id); });
  if (!holds) scheduleFiredFinish(id, custom.duration + kFinishSlack);
}

void SwitcherEngine::releaseFiredRun(const Uuid& id) {
  auto it = firedRunsByID_.find(id);
  if (it == firedRunsByID_.end() || it->second.releaseTime) return;
  FiredTransitionRun& run = it->second;
  run.releaseTime = queue_.now();
  publishFiredRuns();
  scheduleFiredFinish(id, (1 - run.holdAt.value_or(0)) * run.custom.duration + kFinishSlack);
}

void SwitcherEngine::scheduleFiredFinish(const Uuid& id, double delay) {
  std::weak_ptr<SwitcherEngine*> weak = self_;
  firedFinishTimers_.insert_or_assign(id, queue_.after(delay, [weak, id] {
    if (auto self = weak.lock()) (*self)->finishFiredRun(id);
  }));
}

void SwitcherEngine::finishFiredRun(const Uuid& id) {
  auto it = firedRunsByID_.find(id);
  if (it == firedRunsByID_.end()) return;
  const FiredTransitionRun& run = it->second;
  if (run.holdAt && !run.releaseTime) return;
  if (run.expired(queue_.now())) {
    dropFiredRun(id);
  } else {
    scheduleFiredFinish(id, kFinishRetry);
  }
}

void SwitcherEngine::dropFiredRun(const Uuid& id) {
  firedRunsByID_.erase(id);
  publishFiredRuns();
  if (firedTransitionIDs_->contains(id)) firedTransitionIDs_.modify([&](std::set<Uuid>& ids) { ids.erase(id); });
}

void SwitcherEngine::publishFiredRuns() {
  SwitcherSnapshotStore::FiredRuns runs;
  runs.reserve(firedRunsByID_.size());
  for (const auto& [id, run] : firedRunsByID_) runs.push_back(run);
  store_.setFiredRuns(std::move(runs));
}

void SwitcherEngine::scrub(std::optional<CustomTransition> custom, float progress) {
  std::function<void(float)> pose;
  if (custom && makePoseUpdate) pose = makePoseUpdate(*custom);
  if (custom) {
    store_.setScrub(SwitcherSnapshotStore::Scrub{std::move(*custom), progress});
  } else {
    store_.setScrub(std::nullopt);
  }
  if (pose) pose(progress);
}

}  // namespace tavorin

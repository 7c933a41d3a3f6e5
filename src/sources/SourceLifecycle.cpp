#include "sources/SourceLifecycle.h"

#include <algorithm>
#include <utility>

namespace tavorin {

SourceLifecycle::SourceLifecycle(MainQueue& queue, FrameSlotMap& frameSlots,
                                 std::function<std::set<std::string>()> usedSourceIDs,
                                 std::function<void(std::string)> log)
    : queue_(queue), frameSlots_(frameSlots), usedSourceIDs_(std::move(usedSourceIDs)), log_(std::move(log)) {}

SourceLifecycle::~SourceLifecycle() = default;

void SourceLifecycle::start() {
  if (!subscriptions_.empty()) return;
  auto reconcile = [this](const auto&) { scheduleReconcile(); };
  subscriptions_.push_back(studioWakeIDs.subscribe(reconcile));
  sweepTimer_ = queue_.every(kIdleSweepInterval, [this] { sweepIdleSources(); });
  stallTimer_ = queue_.every(kStallCheckInterval, [this] { checkStalls(); });
}

bool SourceLifecycle::addSource(std::shared_ptr<BaseSource> source) {
  if (!source || find(source->id())) return false;
  sources.modify([&](SourceList& list) { list.push_back(source); });
  frameSlots_.set(source->id(), source->frameSlot());
  startSource(source, true);
  reconcileLiveSources();
  return true;
}

void SourceLifecycle::removeSource(const std::string& id) {
  auto source = find(id);
  if (!source) return;
  source->stop();
  frameSlots_.remove(id);
  sources.modify([&](SourceList& list) { std::erase(list, source); });
  // A start still in flight finds the source gone and leaves these alone.
  startingIDs.erase(id);
  lastLiveAt.erase(id);
}

std::shared_ptr<BaseSource> SourceLifecycle::find(const std::string& id) const {
  const auto& list = sources.get();
  auto it = std::find_if(list.begin(), list.end(), [&](const auto& s) { return s->id() == id; });
  return it == list.end() ? nullptr : *it;
}

void SourceLifecycle::startSource(const std::shared_ptr<BaseSource>& source, bool reportFailure) {
  const std::string id = source->id();
  if (source->isRunning() || startingIDs.contains(id)) return;
  startingIDs.insert(id);
  lastLiveAt[id] = wallClock();
  std::weak_ptr<SourceLifecycle*> weakSelf = self_;
  std::weak_ptr<BaseSource> weakSource = source;
  // The completion may come at once, from inside start().
  source->start([weakSelf, weakSource, id, reportFailure](std::optional<std::string> error) {
    if (auto self = weakSelf.lock()) (*self)->finishStart(weakSource, id, reportFailure, error);
  });
}

void SourceLifecycle::finishStart(const std::weak_ptr<BaseSource>& weakSource, const std::string& id,
                                  bool reportFailure, const std::optional<std::string>& error) {
  auto source = weakSource.lock();
  if (!source || find(id) != source) {
    // Deleted while starting: its entries are already gone, and it must not
    // go on capturing for nobody.
    if (source && !error) source->stop();
    return;
  }
  startingIDs.erase(id);
  if (error && reportFailure) log_("Failed to start " + source->displayName() + ": " + *error);
}

void SourceLifecycle::wakeSource(const std::shared_ptr<BaseSource>& source) {
  if (source->isRunning()) {
    source->resume();
  } else if (source->restartsItself()) {
    source->restartCapture();
  } else {
    startSource(source, false);
  }
}

void SourceLifecycle::parkSource(BaseSource& source) { source.park(); }

void SourceLifecycle::restartSource(const std::string& id) {
  auto source = find(id);
  if (!source) return;
  log_("Restarting “" + displayName(id) + "”…");
  if (source->restartsItself()) {
    source->restartCapture();
  } else {
    source->stop();
    startSource(source, false);
  }
  // After startSource, which stamps the present: the grace must win.
  lastLiveAt[id] = wallClock() + kRestartGrace;
}

bool SourceLifecycle::isParked(const std::string& id) const {
  auto source = find(id);
  if (!source || !source->canPark()) return false;
  return !liveSourceIDs().contains(id);
}

std::set<std::string> SourceLifecycle::liveSourceIDs() const {
  std::set<std::string> ids = usedSourceIDs_ ? usedSourceIDs_() : std::set<std::string>{};
  ids.insert(studioWakeIDs->begin(), studioWakeIDs->end());
  return ids;
}

void SourceLifecycle::reconcileLiveSources() {
  const auto live = liveSourceIDs();
  const double now = wallClock();
  // A copy: a wake may complete at once and report back into this object.
  const SourceList list = sources.get();
  for (const auto& source : list) {
    const bool isLive = live.contains(source->id());
    if (isLive) {
      lastLiveAt[source->id()] = now;
      wakeSource(source);
    }
    source->setLive(isLive);
  }
}

void SourceLifecycle::scheduleReconcile() {
  if (reconcilePending_) return;
  reconcilePending_ = true;
  std::weak_ptr<SourceLifecycle*> weakSelf = self_;
  queue_.post([weakSelf] {
    auto self = weakSelf.lock();
    if (!self) return;
    (*self)->reconcilePending_ = false;
    (*self)->reconcileLiveSources();
  });
}

void SourceLifecycle::sweepIdleSources() {
  const auto live = liveSourceIDs();
  const double now = wallClock();
  const SourceList list = sources.get();
  for (const auto& source : list) {
    const std::string& id = source->id();
    if (live.contains(id) || startingIDs.contains(id)) continue;
    auto seen = lastLiveAt.find(id);
    if (seen == lastLiveAt.end() || now - seen->second > kParkAfter) parkSource(*source);
  }
}

void SourceLifecycle::checkStalls() {
  const double now = wallClock();
  const SourceList list = sources.get();
  for (const auto& source : list) {
    if (!source->superviseStalls() || !source->isRunning()) continue;
    // A source that never delivered is not stalled, only slow to begin.
    const double lastFrameAt = source->lastFrameAt();
    if (lastFrameAt <= 0 || now - lastFrameAt <= kStallAfter) continue;
    log_("“" + displayName(source->id()) + "” stalled — restarting the capture.");
    source->restartCapture();
  }
}

std::string SourceLifecycle::displayName(const std::string& id) const {
  auto source = find(id);
  return source ? source->displayName() : id;
}

}  // namespace tavorin

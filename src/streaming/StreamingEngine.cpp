#include "streaming/StreamingEngine.h"

#include <algorithm>
#include <chrono>

#include "base/ThreadName.h"
#include "model/CanvasSize.h"

namespace tavorin {

StreamingEngine::StreamingEngine(MainQueue& queue, KeyLookup keys, SharedEncoders& encoders)
    : queue_(queue), keys_(std::move(keys)), encoders_(encoders) {}

StreamingEngine::~StreamingEngine() {
  self_.reset();
  stopAll();
  reapClosers(true);
}

void StreamingEngine::start(const StreamDestination& destination) {
  if (sessions_.count(destination.id)) return;
  start(destination, keys_ ? keys_(destination.id).value_or("") : "");
}

void StreamingEngine::start(const StreamDestination& destination, const std::string& key) {
  if (sessions_.count(destination.id)) return;
  if (key.empty()) {
    states.modify([&](auto& map) { map[destination.id] = StreamState::error("No stream key — edit the destination to add one"); });
    return;
  }
  startSession(destination, key);
}

void StreamingEngine::startSession(const StreamDestination& destination, const std::string& key) {
  const auto limited = applyLimits(destination);
  auto [width, height] = canvasSizeProvider ? canvasSizeProvider() : std::pair{1920, 1080};
  if (limited.canvas.value_or(StreamCanvas::main) == StreamCanvas::vertical) {
    width = static_cast<int>(kVerticalCanvasPixels.width);
    height = static_cast<int>(kVerticalCanvasPixels.height);
  }
  std::weak_ptr<StreamingEngine*> weakSelf = self_;
  MainQueue& queue = queue_;
  // Filled in once the session exists; it reports nothing before start().
  auto sender = std::make_shared<std::weak_ptr<StreamSession>>();
  auto onState = [weakSelf, sender, &queue](const Uuid& id, const StreamState& state) {
    std::weak_ptr<StreamSession> from = *sender;
    queue.post([weakSelf, from, id, state] {
      auto self = weakSelf.lock();
      auto session = from.lock();
      if (self && session) (*self)->stateReported(id, session, state);
    });
  };
  auto session = std::make_shared<StreamSession>(encoders_, limited, key, width, height, onState, timing);
  *sender = session;
  sessions_[destination.id] = session;
  states.modify([&](auto& map) { map[destination.id] = StreamState::connecting(); });
  session->start();
  if (!healthTask_.active()) healthTask_ = queue_.every(kHealthPeriod, [this] { sampleHealth(); });
}

void StreamingEngine::stateReported(const Uuid& id, const std::shared_ptr<StreamSession>& session,
                                    const StreamState& state) {
  // A report from a session already stopped or replaced is dropped.
  const auto found = sessions_.find(id);
  if (found == sessions_.end() || found->second != session) return;
  states.modify([&](auto& map) { map[id] = state; });
  // The error stays up with no session behind it.
  if (state.kind == StreamState::Kind::error) remove(id);
}

void StreamingEngine::stop(const Uuid& id) { remove(id); }

void StreamingEngine::toggle(const StreamDestination& destination) {
  const auto& map = states.get();
  const auto found = map.find(destination.id);
  if (found != map.end() && found->second.isActive()) {
    stop(destination.id);
    states.modify([&](auto& all) { all[destination.id] = StreamState::idle(); });
  } else {
    start(destination);
  }
}

void StreamingEngine::forget(const Uuid& id) {
  stop(id);
  states.modify([&](auto& map) { map.erase(id); });
}

void StreamingEngine::stopAll() {
  std::vector<Uuid> ids;
  for (const auto& [id, session] : sessions_) ids.push_back(id);
  for (const auto& id : ids) remove(id);
}

void StreamingEngine::remove(const Uuid& id) {
  const auto found = sessions_.find(id);
  if (found == sessions_.end()) return;
  auto session = found->second;
  sessions_.erase(found);
  session->stop();
  reapClosers(false);
  auto done = std::make_shared<std::atomic<bool>>(false);
  closers_.push_back({std::thread([session, done, closed = closed_]() mutable {
                        nameThisThread("Tavorin.Closer");
                        session->finish();
                        session.reset();
                        {
                          std::lock_guard hold(closed->lock);
                          *done = true;
                        }
                        closed->changed.notify_all();
                      }),
                      done});
}

int StreamingEngine::waitUntilClosed(std::chrono::steady_clock::time_point deadline) {
  {
    std::unique_lock hold(closed_->lock);
    closed_->changed.wait_until(hold, deadline, [this] {
      return std::all_of(closers_.begin(), closers_.end(), [](const Closer& closer) { return closer.done->load(); });
    });
  }
  reapClosers(false);
  return static_cast<int>(closers_.size());
}

void StreamingEngine::reapClosers(bool all) {
  for (auto it = closers_.begin(); it != closers_.end();) {
    if (all || *it->done) {
      it->thread.join();
      it = closers_.erase(it);
    } else {
      ++it;
    }
  }
}

void StreamingEngine::sampleHealth() {
  if (sessions_.empty()) {
    if (!health.health.get().empty()) health.health.set({});
    // Not from inside the timer's own run: the sampler ends on the next turn.
    std::weak_ptr<StreamingEngine*> weakSelf = self_;
    queue_.post([weakSelf] {
      auto self = weakSelf.lock();
      if (self && (*self)->sessions_.empty()) (*self)->healthTask_.cancel();
    });
    return;
  }
  std::map<Uuid, StreamHealth> next;
  const auto& map = states.get();
  for (auto& [id, session] : sessions_) {
    const auto state = map.find(id);
    if (state == map.end() || state->second.kind != StreamState::Kind::live) continue;
    const std::uint64_t bytes = session->byteCount();
    const std::uint64_t delta = bytes >= session->lastByteCount ? bytes - session->lastByteCount : 0;
    session->lastByteCount = bytes;
    next[id] = {static_cast<int>(delta * 8 / static_cast<std::uint64_t>(kHealthPeriod * 1000)),
                static_cast<int>(session->currentFPS()), session->videoDropCount()};
  }
  if (next != health.health.get()) health.health.set(std::move(next));
}

std::vector<Uuid> StreamingEngine::liveDestinations() const {
  std::vector<Uuid> live;
  for (const auto& [id, state] : states.get()) {
    if (state.kind == StreamState::Kind::live) live.push_back(id);
  }
  return live;
}

bool StreamingEngine::isAnyActive() const {
  const auto& map = states.get();
  return std::any_of(map.begin(), map.end(), [](const auto& entry) { return entry.second.isActive(); });
}

std::optional<double> StreamingEngine::earliestLiveSince() const {
  std::optional<double> earliest;
  for (const auto& [id, state] : states.get()) {
    if (state.kind == StreamState::Kind::live && (!earliest || state.since < *earliest)) earliest = state.since;
  }
  return earliest;
}

}  // namespace tavorin

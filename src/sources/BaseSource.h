#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/FrameSlot.h"
#include "sources/SourceKind.h"

namespace tavorin {

// Everything that yields video. A source produces on its own thread at its own
// rate and overwrites one slot with its newest frame; the frame clock reads
// that slot on every tick and never waits. Lifecycle calls (start, stop, the
// hooks below) and the display name belong to the main thread.
class BaseSource {
 public:
  // Called on the main thread when a start has finished: nothing, or what went wrong.
  using StartDone = std::function<void(std::optional<std::string> error)>;

  BaseSource(std::string id, std::string displayName, SourceKind kind);
  virtual ~BaseSource();
  BaseSource(const BaseSource&) = delete;
  BaseSource& operator=(const BaseSource&) = delete;

  const std::string& id() const { return id_; }
  SourceKind kind() const { return kind_; }
  const std::string& displayName() const { return displayName_; }
  void setDisplayName(std::string name) { displayName_ = std::move(name); }
  // True while the source produces or is able to produce.
  bool isRunning() const { return running_.load(std::memory_order_relaxed); }

  // A retained reference to the newest frame; null before the first.
  FrameRef latestFrame() const { return slot_->latest(); }
  // Wall-clock stamp (wallClockNow) of the last publish; 0 before the first.
  double lastFrameAt() const { return slot_->lastPublishedAt(); }
  // The only way a frame enters a source: replaces the slot, copies no pixels.
  // The producer has stamped its host time and writes it no more. Any thread.
  void publish(FrameRef frame) { slot_->publish(std::move(frame)); }
  // The slot the frame clock reads, shared with the frame-slot map.
  std::shared_ptr<const FrameSlot> frameSlot() const { return slot_; }

  // Begins producing. Slow work runs off the main thread; `done` comes back on it.
  virtual void start(StartDone done) = 0;
  virtual void stop() = 0;

  // Hooks of the lifecycle; a kind overrides those that apply to it.

  // Nothing has used the source for a while: free what it holds (it may stay running).
  virtual void park() {}
  // In use again while running: bring back what park() let go.
  virtual void resume() {}
  // False for sources that hold nothing worth freeing (stills, text, shapes):
  // the operator never sees them as parked.
  virtual bool canPark() const { return true; }
  // Told on every reconcile whether a scene or cue uses the source.
  virtual void setLive(bool /*live*/) {}
  // Sources whose capture can stop without an error, watched for silence by the stall check.
  virtual bool superviseStalls() const { return false; }
  // True when restartCapture() replaces stop-and-start for a restart or a wake.
  virtual bool restartsItself() const { return false; }
  // Tears the capture down and builds it again, finishing on its own thread.
  virtual void restartCapture() {}

  // Hooks of custom transitions, main thread. A source that plays from a
  // beginning (a clip, an animated title, a page) starts again from it when a
  // transition that shows it begins; the others ignore it.
  virtual void replayFromStart() {}
  // A source whose picture turns in 3D takes the pose a transition gives it.
  virtual bool takesTextPose() const { return false; }
  virtual void setTextPose(double /*yawDeg*/, double /*pitchDeg*/) {}

 protected:
  // Main thread, apart from the cases a kind documents.
  void setRunning(bool running) { running_.store(running, std::memory_order_relaxed); }

 private:
  const std::string id_;
  const SourceKind kind_;
  std::string displayName_;
  std::atomic<bool> running_{false};
  const std::shared_ptr<FrameSlot> slot_ = std::make_shared<FrameSlot>();
};

}  // namespace tavorin

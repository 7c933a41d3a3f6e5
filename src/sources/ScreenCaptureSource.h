#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>

#include "base/MainQueue.h"
#include "base/SerialQueue.h"
#include "model/CaptureQuality.h"
#include "platform/capture/ScreenCapture.h"
#include "sources/BaseSource.h"

namespace tavorin {

// A display, a window or an application's windows. A screen capture can stop
// without an error (a window closed, a display unplugged) or go silent, so
// this source restarts itself: on the stall check, on a wake, on a quality
// change, and every 3 s after a stop until a start succeeds or it is removed.
// Lifecycle calls are the main thread's; captures start on its own queue.
class ScreenCaptureSource : public BaseSource {
 public:
  static constexpr double kRetryDelay = 3.0;

  static std::string idFor(const ScreenTarget& target);
  // "Display DP-1"; a window's title, else its application's name, else "Window"; the application's name.
  static std::string nameFor(const ScreenTarget& target);

  // `log` takes a line for the show's log, on the main thread. `id`, when
  // given, is the one the show stored: a window found again by its title has
  // a new window id, and the scenes still name the old source.
  ScreenCaptureSource(ScreenTarget target, ScreenCaptureBackend& backend, MainQueue& queue,
                      std::function<void(std::string)> log, CaptureQuality quality = CaptureQuality::hd1080,
                      std::string id = {});
  ~ScreenCaptureSource() override;

  void start(StartDone done) override;
  void stop() override;
  bool superviseStalls() const override { return true; }
  bool restartsItself() const override { return true; }
  void restartCapture() override { restart(); }

  // Tears the capture down, finds the target again in a fresh enumeration
  // and starts it; a failure is logged and retried. Nothing while a restart runs.
  void restart();
  // Stores the quality and restarts at it.
  void setQuality(CaptureQuality quality);
  CaptureQuality quality() const { return quality_; }
  // The windows every display capture leaves out; applied without a restart.
  void updateExclusions(std::set<std::uint32_t> windowIDs);
  const ScreenTarget& target() const { return target_; }
  bool isRestarting() const { return restarting_; }
  // Main thread: a screen share's new token, to be stored for the next run.
  std::function<void(const std::string& token)> onScreenShareToken;
  bool isRetryPending() const { return retryTimer_.active(); }

 private:
  // Queue thread: starts a capture of `target`; the error in words when it cannot.
  std::optional<std::string> openCapture(const ScreenTarget& target, CaptureLimits limits, std::uint64_t generation);
  void closeCapture();
  // Main thread, after a start: the capture runs; a share's token is kept.
  void began(const std::string& screenShareToken);
  // Main thread: the capture stopped by itself.
  void stopped(std::uint64_t generation, const std::string& why);
  // Once, unless one is already pending.
  void scheduleRetry();

  ScreenTarget target_;
  ScreenCaptureBackend& backend_;
  MainQueue& queue_;
  std::function<void(std::string)> log_;
  CaptureQuality quality_;
  std::set<std::uint32_t> excluded_;
  bool restarting_ = false;
  bool starting_ = false;
  std::uint64_t generation_ = 0;
  TimerHandle retryTimer_;
  // Only ever touched on the queue's thread.
  std::unique_ptr<ScreenCapture> capture_;
  std::shared_ptr<ScreenCaptureSource*> self_ = std::make_shared<ScreenCaptureSource*>(this);
  // Last: it runs the tasks still queued before the fields above go.
  SerialQueue work_{"Tavorin.Screen"};
};

// The same target in a fresh enumeration: a display by its id; a window by its
// id, else by its title and application (a window made again after a restart
// has a new id); an application by its id, on the display of the same id or
// else the first. Nothing when it is gone.
std::optional<ScreenTarget> findAgain(const ScreenTarget& target, const ScreenTargets& now);

}  // namespace tavorin

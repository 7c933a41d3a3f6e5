#pragma once

#include <atomic>
#include <functional>
#include <thread>

namespace tavorin {

// The display callback of a machine without one: a thread that wakes at
// absolute deadlines on the monotonic clock, one per refresh, and reports each
// refresh's host time. A late callback costs the missed refreshes, never a burst.
class FrameClock {
 public:
  using Callback = std::function<void(double hostTime)>;

  explicit FrameClock(Callback callback, double refreshRate = 60.0);
  ~FrameClock();
  FrameClock(const FrameClock&) = delete;
  FrameClock& operator=(const FrameClock&) = delete;

  // Starts the thread; a second call does nothing. `onThreadStart` runs on
  // the new thread before the first callback and `onThreadEnd` after the
  // last (to make a GPU context current there and to let it go).
  void start(std::function<void()> onThreadStart = {}, std::function<void()> onThreadEnd = {});
  // Stops and joins the thread; the callback is not running afterwards.
  void stop();

  double refreshRate() const { return refreshRate_; }

 private:
  void run();

  Callback callback_;
  double refreshRate_;
  std::function<void()> onThreadStart_;
  std::function<void()> onThreadEnd_;
  std::atomic<bool> running_{false};
  std::thread thread_;
};

}  // namespace tavorin

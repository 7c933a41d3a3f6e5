#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

namespace tavorin {

// The display callback of a machine without one: a thread that wakes at
// absolute deadlines on the monotonic clock, one per refresh, and reports each
// refresh's host time. A late callback costs the missed refreshes, never a burst.
// Its rate follows what is consumed, and it rests while nothing is.
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

  // Any thread: refreshes a second from the next one on; 0 rests the clock
  // until a rate comes, and a resting clock's first refresh comes at once.
  void setRate(double rate);

 private:
  void run();
  // The period in nanoseconds, once the clock may run (`rested` when it had
  // to wait for a rate); 0 once it is stopped.
  std::int64_t waitForPeriod(bool& rested);

  Callback callback_;
  std::function<void()> onThreadStart_;
  std::function<void()> onThreadEnd_;
  std::atomic<bool> running_{false};
  // Guards rate_; held only to read or set it, or while the clock rests.
  std::mutex lock_;
  std::condition_variable rateSet_;
  double rate_;
  std::thread thread_;
};

}  // namespace tavorin

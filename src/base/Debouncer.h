#pragma once

#include <functional>

#include "base/MainQueue.h"

namespace tavorin {

// Runs an action once, `delay` seconds after the last trigger. Savers of
// often-changing state (sliders, drags) use it so a store's file is not
// rewritten on every step.
class Debouncer {
 public:
  Debouncer(MainQueue& queue, double delay, std::function<void()> action)
      : queue_(queue), delay_(delay), action_(std::move(action)) {}

  void trigger() {
    timer_ = queue_.after(delay_, [this] {
      timer_.cancel();
      action_();
    });
  }
  // Runs a pending action now instead of later.
  void flush() {
    if (!timer_.active()) return;
    timer_.cancel();
    action_();
  }
  void cancel() { timer_.cancel(); }
  bool pending() const { return timer_.active(); }

 private:
  MainQueue& queue_;
  double delay_;
  std::function<void()> action_;
  TimerHandle timer_;
};

}  // namespace tavorin

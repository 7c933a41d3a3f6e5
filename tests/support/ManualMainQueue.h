#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "base/MainQueue.h"

namespace tavorin::testing {

// A main queue whose clock only moves when the test says so. Posted tasks and
// due timers run, in time order, inside `runUntilIdle` and `advance`.
class ManualMainQueue final : public MainQueue {
 public:
  void post(std::function<void()> task) override;
  TimerHandle after(double seconds, std::function<void()> task) override;
  TimerHandle every(double seconds, std::function<void()> task) override;
  double now() const override { return now_; }

  // Runs posted tasks and timers that are already due.
  void runUntilIdle();
  // Moves the clock forward by `seconds`, running everything that falls due on the way.
  void advance(double seconds);
  std::size_t pendingTimers() const { return timers_->size(); }

 private:
  struct Timer {
    double due = 0;
    double interval = 0;  // 0 for one-shot
    std::function<void()> task;
  };
  using TimerMap = std::map<std::uint64_t, Timer>;

  TimerHandle schedule(double seconds, double interval, std::function<void()> task);
  bool runOneDue(double upTo);

  double now_ = 1000.0;
  std::uint64_t nextID_ = 1;
  std::mutex postLock_;  // post() may come from any thread, as on the real queue
  std::vector<std::function<void()>> posted_;
  std::shared_ptr<TimerMap> timers_ = std::make_shared<TimerMap>();
};

}  // namespace tavorin::testing

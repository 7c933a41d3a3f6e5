#include "support/ManualMainQueue.h"

#include <limits>

namespace tavorin::testing {

void ManualMainQueue::post(std::function<void()> task) {
  std::lock_guard guard(postLock_);
  posted_.push_back(std::move(task));
}

TimerHandle ManualMainQueue::after(double seconds, std::function<void()> task) {
  return schedule(seconds, 0, std::move(task));
}

TimerHandle ManualMainQueue::every(double seconds, std::function<void()> task) {
  return schedule(seconds, seconds, std::move(task));
}

TimerHandle ManualMainQueue::schedule(double seconds, double interval, std::function<void()> task) {
  auto id = nextID_++;
  (*timers_)[id] = Timer{now_ + seconds, interval, std::move(task)};
  std::weak_ptr<TimerMap> weak = timers_;
  return TimerHandle([weak, id] {
    if (auto timers = weak.lock()) timers->erase(id);
  });
}

bool ManualMainQueue::runOneDue(double upTo) {
  std::function<void()> posted;
  {
    std::lock_guard guard(postLock_);
    if (!posted_.empty()) {
      posted = std::move(posted_.front());
      posted_.erase(posted_.begin());
    }
  }
  if (posted) {
    posted();
    return true;
  }
  auto earliest = timers_->end();
  for (auto it = timers_->begin(); it != timers_->end(); ++it) {
    if (it->second.due <= upTo && (earliest == timers_->end() || it->second.due < earliest->second.due)) earliest = it;
  }
  if (earliest == timers_->end()) return false;
  auto id = earliest->first;
  if (earliest->second.due > now_) now_ = earliest->second.due;
  auto task = earliest->second.task;
  if (earliest->second.interval > 0) {
    earliest->second.due += earliest->second.interval;
  } else {
    timers_->erase(earliest);
  }
  (void)id;
  task();
  return true;
}

void ManualMainQueue::runUntilIdle() {
  while (runOneDue(now_)) {
  }
}

void ManualMainQueue::advance(double seconds) {
  const double target = now_ + seconds;
  while (runOneDue(target)) {
  }
  now_ = target;
}

}  // namespace tavorin::testing

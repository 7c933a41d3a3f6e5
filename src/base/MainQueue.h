#pragma once

#include <functional>
#include <memory>

namespace tavorin {

// A scheduled timer. Destroying or cancelling the handle stops it; a one-shot
// timer that already ran is harmless to cancel.
class TimerHandle {
 public:
  TimerHandle() = default;
  explicit TimerHandle(std::function<void()> cancel) : cancel_(std::move(cancel)) {}
  TimerHandle(TimerHandle&& other) noexcept : cancel_(std::move(other.cancel_)) { other.cancel_ = nullptr; }
  TimerHandle& operator=(TimerHandle&& other) noexcept {
    if (this != &other) {
      cancel();
      cancel_ = std::move(other.cancel_);
      other.cancel_ = nullptr;
    }
    return *this;
  }
  TimerHandle(const TimerHandle&) = delete;
  TimerHandle& operator=(const TimerHandle&) = delete;
  ~TimerHandle() { cancel(); }

  void cancel() {
    if (cancel_) {
      auto cancel = std::move(cancel_);
      cancel_ = nullptr;
      cancel();
    }
  }
  bool active() const { return cancel_ != nullptr; }

 private:
  std::function<void()> cancel_;
};

// The main thread's queue: everything that changes published state runs here.
// Worker threads post their results back through `post`, the only member that
// may be called from another thread.
class MainQueue {
 public:
  virtual ~MainQueue() = default;

  // Runs `task` on the main thread, after what is already queued.
  virtual void post(std::function<void()> task) = 0;
  // Runs `task` once, `seconds` from now.
  [[nodiscard]] virtual TimerHandle after(double seconds, std::function<void()> task) = 0;
  // Runs `task` every `seconds` until the handle goes.
  [[nodiscard]] virtual TimerHandle every(double seconds, std::function<void()> task) = 0;
  // The queue's clock in seconds; host time on the real loop.
  virtual double now() const = 0;
};

}  // namespace tavorin

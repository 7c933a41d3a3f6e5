#include "compositor/FrameClock.h"

#include <cerrno>
#include <cstdint>
#include <ctime>

#include "base/ThreadName.h"


namespace tavorin {

namespace {

constexpr std::int64_t kNanosPerSecond = 1'000'000'000;

std::int64_t toNanos(const timespec& ts) { return ts.tv_sec * kNanosPerSecond + ts.tv_nsec; }

timespec fromNanos(std::int64_t ns) {
  return timespec{static_cast<time_t>(ns / kNanosPerSecond), static_cast<long>(ns % kNanosPerSecond)};
}

std::int64_t monotonicNanos() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return toNanos(ts);
}

}  // namespace

FrameClock::FrameClock(Callback callback, double refreshRate)
    : callback_(std::move(callback)), rate_(refreshRate > 0 ? refreshRate : 60.0) {}

FrameClock::~FrameClock() { stop(); }

void FrameClock::start(std::function<void()> onThreadStart, std::function<void()> onThreadEnd) {
  if (running_.exchange(true)) return;
  onThreadStart_ = std::move(onThreadStart);
  onThreadEnd_ = std::move(onThreadEnd);
  thread_ = std::thread([this] { run(); });
}

void FrameClock::stop() {
  {
    std::lock_guard hold(lock_);
    running_ = false;
  }
  rateSet_.notify_all();
  if (thread_.joinable()) thread_.join();
}

void FrameClock::setRate(double rate) {
  {
    std::lock_guard hold(lock_);
    rate_ = rate > 0 ? rate : 0;
  }
  rateSet_.notify_all();
}

std::int64_t FrameClock::waitForPeriod(bool& rested) {
  std::unique_lock hold(lock_);
  rested = rate_ <= 0;
  if (rested) rateSet_.wait(hold, [this] { return rate_ > 0 || !running_.load(std::memory_order_relaxed); });
  if (!running_.load(std::memory_order_relaxed)) return 0;
  return static_cast<std::int64_t>(static_cast<double>(kNanosPerSecond) / rate_);
}

void FrameClock::run() {
  nameThisThread("Tavorin.Clock");
  if (onThreadStart_) onThreadStart_();
  std::int64_t deadline = monotonicNanos();
  for (;;) {
    bool rested = false;
    const std::int64_t period = waitForPeriod(rested);
    if (period == 0) break;
    if (rested) {
      // Whoever woke the clock wants a picture now, not a period from now.
      deadline = monotonicNanos();
    } else {
      deadline += period;
      // Behind by a whole refresh or more: drop the missed ones rather than catch up in a burst.
      const std::int64_t now = monotonicNanos();
      if (deadline <= now) deadline += (now - deadline) / period * period + period;
    }
    const timespec at = fromNanos(deadline);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &at, nullptr) == EINTR) {
    }
    if (!running_.load(std::memory_order_relaxed)) break;
    // The refresh's own time, as a display link reports it: a wake-up that
    // comes late must not bring the next refresh closer than a period.
    callback_(static_cast<double>(deadline) / kNanosPerSecond);
  }
  if (onThreadEnd_) onThreadEnd_();
}

}  // namespace tavorin

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
    : callback_(std::move(callback)), refreshRate_(refreshRate > 0 ? refreshRate : 60.0) {}

FrameClock::~FrameClock() { stop(); }

void FrameClock::start(std::function<void()> onThreadStart, std::function<void()> onThreadEnd) {
  if (running_.exchange(true)) return;
  onThreadStart_ = std::move(onThreadStart);
  onThreadEnd_ = std::move(onThreadEnd);
  thread_ = std::thread([this] { run(); });
}

void FrameClock::stop() {
  running_ = false;
  if (thread_.joinable()) thread_.join();
}

void FrameClock::run() {
  nameThisThread("Tavorin.Clock");
  if (onThreadStart_) onThreadStart_();
  const auto period = static_cast<std::int64_t>(kNanosPerSecond / refreshRate_);
  std::int64_t deadline = monotonicNanos() + period;
  while (running_.load(std::memory_order_relaxed)) {
    const timespec at = fromNanos(deadline);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &at, nullptr) == EINTR) {
    }
    if (!running_.load(std::memory_order_relaxed)) break;
    // The refresh's own time, as a display link reports it: a wake-up that
    // comes late must not bring the next refresh closer than a period.
    callback_(static_cast<double>(deadline) / kNanosPerSecond);
    deadline += period;
    // Behind by a whole refresh or more: drop the missed ones rather than catch up in a burst.
    const std::int64_t now = monotonicNanos();
    if (deadline <= now) deadline += (now - deadline) / period * period + period;
  }
  if (onThreadEnd_) onThreadEnd_();
}

}  // namespace tavorin

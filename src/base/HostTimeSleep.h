#pragma once

#include <time.h>

#include <cerrno>

namespace tavorin {

// Sleeps until the monotonic clock reaches `seconds` of host time (hostTimeNow's
// clock); returns at once when it already has. For threads paced on a grid of
// host times, so their stamps and the clock never drift apart.
inline void sleepUntilHostTime(double seconds) {
  timespec ts{};
  ts.tv_sec = static_cast<time_t>(seconds);
  ts.tv_nsec = static_cast<long>((seconds - static_cast<double>(ts.tv_sec)) * 1e9);
  if (ts.tv_nsec > 999'999'999L) ts.tv_nsec = 999'999'999L;
  if (ts.tv_nsec < 0) ts.tv_nsec = 0;
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &ts, nullptr) == EINTR) {
  }
}

}  // namespace tavorin

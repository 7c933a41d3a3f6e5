#pragma once

#include <time.h>

namespace tavorin {

// Host time: the monotonic clock in seconds. Transitions, animations and frame
// times all run on it.
inline double hostTimeNow() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

// Seconds between the Unix epoch and 2001-01-01 00:00:00 UTC, the reference of wall-clock stamps.
inline constexpr double kReferenceDateOffset = 978307200.0;

// Wall-clock stamp: seconds since 2001-01-01 UTC. Serves only source supervision.
inline double wallClockNow() {
  timespec ts{};
  clock_gettime(CLOCK_REALTIME, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9 - kReferenceDateOffset;
}

}  // namespace tavorin

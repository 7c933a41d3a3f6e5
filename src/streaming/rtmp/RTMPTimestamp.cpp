#include "streaming/rtmp/RTMPTimestamp.h"

#include <cmath>

namespace tavorin {

std::optional<std::uint32_t> RTMPTimestamp::update(double seconds) {
  if (updatedAt >= seconds) return std::nullopt;
  if (startedAt == 0) {
    if (origin && seconds < *origin) return std::nullopt;
    startedAt = origin.value_or(seconds);
    updatedAt = seconds;
    sentMilliseconds = 0;
    if (!origin) return 0;
  }
  // Counted from the start, not summed from rounded deltas: a rounding in
  // each delta would add up to tens of milliseconds an hour. The nanosecond
  // of slack keeps float noise in large host times from losing a millisecond.
  const double elapsed = (seconds - startedAt) * 1000;
  const auto whole = static_cast<std::int64_t>(std::floor(elapsed + 1e-6));
  const std::int64_t delta = whole - sentMilliseconds;
  sentMilliseconds = whole;
  timedeltaFraction = elapsed - static_cast<double>(whole);
  updatedAt = seconds;
  return static_cast<std::uint32_t>(delta);
}

}  // namespace tavorin

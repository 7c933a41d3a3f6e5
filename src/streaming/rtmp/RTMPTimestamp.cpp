#include "streaming/rtmp/RTMPTimestamp.h"

#include <cmath>

namespace tavorin {

std::optional<std::uint32_t> RTMPTimestamp::update(double seconds) {
  if (updatedAt >= seconds) return std::nullopt;
  if (startedAt == 0) {
    if (origin && seconds < *origin) return std::nullopt;
    startedAt = seconds;
    updatedAt = origin.value_or(seconds);
    if (!origin) return 0;
  }
  // To the microsecond: differences of large host times carry float noise
  // that would tip a whole half millisecond the wrong way.
  double delta = std::round((seconds - updatedAt) * 1e6) / 1e3;
  double whole = 0;
  timedeltaFraction += std::modf(delta, &whole);
  if (timedeltaFraction >= 1) {
    timedeltaFraction -= 1;
    whole += 1;
  }
  updatedAt = seconds;
  return static_cast<std::uint32_t>(whole);
}

}  // namespace tavorin

#pragma once

#include <cstdint>
#include <optional>

namespace tavorin {

// Turns sample times into the millisecond deltas media messages carry. The
// fraction each delta loses is carried into the next, so the sum of deltas
// keeps up with real time.
class RTMPTimestamp {
 public:
  // Nothing for a time not after the last one (invalidSequence): a repeated
  // or earlier time never goes on the wire.
  std::optional<std::uint32_t> update(double seconds);

  // Where the first time counts from; without one, the first time is 0.
  // A time before it never goes on the wire.
  std::optional<double> origin;

  double startedAt = 0;
  double updatedAt = 0;
  double timedeltaFraction = 0;  // milliseconds
};

}  // namespace tavorin

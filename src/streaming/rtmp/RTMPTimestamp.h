#pragma once

#include <cstdint>
#include <optional>

namespace tavorin {

// Turns sample times into the millisecond deltas media messages carry. The
// deltas sum to the whole milliseconds since the start, so the fraction one
// delta loses is carried into the next and nothing drifts over hours.
class RTMPTimestamp {
 public:
  // Nothing for a time not after the last one (invalidSequence): a repeated
  // or earlier time never goes on the wire.
  std::optional<std::uint32_t> update(double seconds);

  // Where the first time counts from; without one, the first time is 0.
  // A time before it never goes on the wire.
  std::optional<double> origin;

  double startedAt = 0;  // the origin, or the first time without one
  double updatedAt = 0;
  std::int64_t sentMilliseconds = 0;  // the sum of the deltas so far
  double timedeltaFraction = 0;       // milliseconds not yet sent
};

}  // namespace tavorin

#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

namespace tavorin {

// The rates Program may run at, kept in "Tavorin.frameRate": the film and
// PAL rates beside the usual ones, so a show matches the cameras and the
// mains frequency of the room it is in.
inline constexpr std::array<int, 5> kFrameRates{24, 25, 30, 50, 60};
inline constexpr int kDefaultFrameRate = 30;

// A stored rate that is not one of them (a hand-edited file) is the default.
constexpr int validFrameRate(std::optional<std::int64_t> stored) {
  if (!stored) return kDefaultFrameRate;
  const bool known = std::find(kFrameRates.begin(), kFrameRates.end(), *stored) != kFrameRates.end();
  return known ? static_cast<int>(*stored) : kDefaultFrameRate;
}

}  // namespace tavorin

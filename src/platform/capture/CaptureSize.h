#pragma once

#include <algorithm>
#include <utility>

namespace tavorin {

// The largest picture a capture may deliver.
struct CaptureLimits {
  int width = 1920;
  int height = 1080;
  friend bool operator==(const CaptureLimits&, const CaptureLimits&) = default;
};

// The size a capture of `width` × `height` is delivered at: only ever scaled
// down, its shape kept, each side even (the 4:2:0 converters want it) and at
// least 2.
constexpr std::pair<int, int> captureSize(int width, int height, CaptureLimits limits) {
  const double s = std::min({static_cast<double>(limits.width) / std::max(width, 1),
                             static_cast<double>(limits.height) / std::max(height, 1), 1.0});
  const auto even = [](double v) { return std::max(static_cast<int>(v) & ~1, 2); };
  return {even(s * width), even(s * height)};
}

}  // namespace tavorin

#pragma once

#include <string_view>
#include <utility>

#include "base/EnumNames.h"
#include "model/Geometry.h"

namespace tavorin {

// The main canvas's resolution, stored by name in "Tavorin.canvasSize".
enum class CanvasSize { hd1080, qhd1440, uhd4k };

template <>
struct EnumNames<CanvasSize> {
  static constexpr std::pair<CanvasSize, std::string_view> table[] = {
      {CanvasSize::hd1080, "hd1080"}, {CanvasSize::qhd1440, "qhd1440"}, {CanvasSize::uhd4k, "uhd4k"}};
};

constexpr Size pixelSize(CanvasSize size) {
  switch (size) {
    case CanvasSize::hd1080: return {1920, 1080};
    case CanvasSize::qhd1440: return {2560, 1440};
    case CanvasSize::uhd4k: return {3840, 2160};
  }
  return {1920, 1080};
}

// The vertical canvas is always 9:16 at 1080 by 1920.
inline constexpr Size kVerticalCanvasPixels{1080, 1920};

}  // namespace tavorin

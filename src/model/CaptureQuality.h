#pragma once

#include <string_view>
#include <utility>

#include "base/EnumNames.h"
#include "platform/capture/CaptureSize.h"

namespace tavorin {

// The largest picture a camera or screen source may deliver, stored by name
// per source in "Tavorin.captureQualities".
enum class CaptureQuality { automatic, uhd4k, hd1080, hd720 };

template <>
struct EnumNames<CaptureQuality> {
  static constexpr std::pair<CaptureQuality, std::string_view> table[] = {{CaptureQuality::automatic, "auto"},
                                                                          {CaptureQuality::uhd4k, "uhd4k"},
                                                                          {CaptureQuality::hd1080, "hd1080"},
                                                                          {CaptureQuality::hd720, "hd720"}};
};

constexpr CaptureLimits captureLimits(CaptureQuality quality) {
  switch (quality) {
    case CaptureQuality::automatic: return {4096, 2304};
    case CaptureQuality::uhd4k: return {3840, 2160};
    case CaptureQuality::hd1080: return {1920, 1080};
    case CaptureQuality::hd720: return {1280, 720};
  }
  return {1920, 1080};
}

}  // namespace tavorin

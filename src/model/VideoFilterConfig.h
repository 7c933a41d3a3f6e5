#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "base/EnumNames.h"
#include "base/Uuid.h"

namespace tavorin {

enum class VideoFilterKind {
  bw, colorControls, exposure, hue, temperature, gamma, vibrance, sepia, invert, posterize,
  vignette, gaussianBlur, sharpen, pixellate, bloom, barnDoor, scanlines, chromaShift, vhs
};

// One entry of a layer's filter stack.
struct VideoFilterConfig {
  Uuid id = Uuid::make();
  VideoFilterKind kind = VideoFilterKind::bw;
  bool enabled = true;
  std::map<std::string, double> params;

  friend bool operator==(const VideoFilterConfig&, const VideoFilterConfig&) = default;
};

template <>
struct EnumNames<VideoFilterKind> {
  using K = VideoFilterKind;
  static constexpr std::pair<K, std::string_view> table[] = {
      {K::bw, "bw"},
      {K::colorControls, "colorControls"},
      {K::exposure, "exposure"},
      {K::hue, "hue"},
      {K::temperature, "temperature"},
      {K::gamma, "gamma"},
      {K::vibrance, "vibrance"},
      {K::sepia, "sepia"},
      {K::invert, "invert"},
      {K::posterize, "posterize"},
      {K::vignette, "vignette"},
      {K::gaussianBlur, "gaussianBlur"},
      {K::sharpen, "sharpen"},
      {K::pixellate, "pixellate"},
      {K::bloom, "bloom"},
      {K::barnDoor, "barnDoor"},
      {K::scanlines, "scanlines"},
      {K::chromaShift, "chromaShift"},
      {K::vhs, "vhs"},
  };
};

}  // namespace tavorin

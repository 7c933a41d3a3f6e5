#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/EnumNames.h"
#include "streaming/codec/VTSessionOption.h"

namespace tavorin {

// What a stream's video encoder is asked to do. Profile-level names are the
// platform encoder's names without their "kVTProfileLevel_" prefix, e.g.
// "H264_Baseline_3_1", "H264_Main_AutoLevel", "H264_High_AutoLevel",
// "HEVC_Main_AutoLevel".
struct VideoCodecSettings {
  enum class ScalingMode { normal, letterbox, cropSourceToCleanAperture, trim };
  enum class BitRateMode { average, constant, variable };
  enum class Format { h264, hevc };

  struct Size {
    int width = 854;
    int height = 480;
    bool operator==(const Size&) const = default;
  };

  Size videoSize;
  std::int64_t bitRate = 640000;
  std::string profileLevel = "H264_Baseline_3_1";
  ScalingMode scalingMode = ScalingMode::trim;
  BitRateMode bitRateMode = BitRateMode::average;
  std::int32_t maxKeyFrameIntervalDuration = 2;
  std::optional<bool> allowFrameReordering;
  // Bytes per window and window in seconds; a 0 takes the computed value.
  std::optional<std::vector<double>> dataRateLimits = std::vector<double>{0, 0};
  bool isLowLatencyRateControlEnabled = false;
  bool isHardwareAcceleratedEnabled = true;
  // Minimum spacing of encoded frames in seconds; 0 takes every frame.
  double frameInterval = 0;
  std::optional<double> expectedFrameRate;

  bool operator==(const VideoCodecSettings&) const = default;

  Format format() const;
  bool isBaseline() const;
  VTSessionOptions options() const;
  // True when going from this to `next` needs a new encoder session rather
  // than a change to the running one.
  bool needsNewSession(const VideoCodecSettings& next) const;
};

template <>
struct EnumNames<VideoCodecSettings::ScalingMode> {
  using E = VideoCodecSettings::ScalingMode;
  static constexpr std::pair<E, std::string_view> table[] = {
      {E::normal, "Normal"},
      {E::letterbox, "Letterbox"},
      {E::cropSourceToCleanAperture, "CropSourceToCleanAperture"},
      {E::trim, "Trim"}};
};

}  // namespace tavorin

#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "base/EnumNames.h"
#include "platform/media/VideoEncoding.h"

namespace tavorin {

// What a stream asks of its video encoder, in the stream's own terms; the
// encoding it maps to is what the shared encoders are keyed by.
struct VideoCodecSettings {
  enum class ScalingMode { normal, letterbox, cropSourceToCleanAperture, trim };
  enum class BitRateMode { average, constant, variable };
  using Format = VideoCodecKind;

  struct Size {
    int width = 854;
    int height = 480;
    bool operator==(const Size&) const = default;
  };

  Size videoSize;
  std::int64_t bitRate = 640000;
  Format format = Format::h264;
  VideoProfile profile = VideoProfile::baseline;
  // Level times ten; nothing lets the encoder choose.
  std::optional<int> level = 31;
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

  bool isBaseline() const { return profile == VideoProfile::baseline; }
  // The encoder's parameters: reordering unless Baseline or told otherwise,
  // a rate cap from the data-rate limits, CABAC above Baseline, hardware as
  // a preference (software stands in where none opens).
  VideoEncoding encoding() const;
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

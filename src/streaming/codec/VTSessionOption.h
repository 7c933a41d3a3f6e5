#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace tavorin {

// The encoder properties a stream asks for, in the encoder-neutral terms the
// settings are computed in; VideoEncoderSession maps them to FFmpeg.
enum class VTSessionOptionKey {
  realTime,
  profileLevel,
  averageBitRate,
  constantBitRate,
  variableBitRate,
  maxKeyFrameIntervalDuration,
  allowFrameReordering,
  pixelTransferProperties,
  dataRateLimits,
  h264EntropyMode,
  expectedFrameRate,
  encoderID,
  enableHardwareAcceleratedVideoEncoder,
  requireHardwareAcceleratedVideoEncoder,
};

using VTSessionOptionValue =
    std::variant<bool, std::int64_t, double, std::string, std::vector<double>, std::map<std::string, std::string>>;

// Keyed by property, so a key appears once.
using VTSessionOptions = std::map<VTSessionOptionKey, VTSessionOptionValue>;

// The entropy mode value and the hardware encoder ids, in this system's terms.
inline constexpr const char* kH264EntropyModeCABAC = "CABAC";
inline constexpr const char* kHardwareAvcEncoderID = "hardware.avc";
inline constexpr const char* kHardwareHevcEncoderID = "hardware.hevc";

}  // namespace tavorin

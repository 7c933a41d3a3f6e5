#include "streaming/codec/VideoCodecSettings.h"

namespace tavorin {

namespace {

bool contains(const std::string& text, const char* part) { return text.find(part) != std::string::npos; }

VTSessionOptionKey bitRateKey(VideoCodecSettings::BitRateMode mode) {
  switch (mode) {
    case VideoCodecSettings::BitRateMode::constant:
      return VTSessionOptionKey::constantBitRate;
    case VideoCodecSettings::BitRateMode::variable:
      return VTSessionOptionKey::variableBitRate;
    case VideoCodecSettings::BitRateMode::average:
      break;
  }
  return VTSessionOptionKey::averageBitRate;
}

}  // namespace

VideoCodecSettings::Format VideoCodecSettings::format() const {
  return contains(profileLevel, "HEVC") ? Format::hevc : Format::h264;
}

bool VideoCodecSettings::isBaseline() const { return contains(profileLevel, "Baseline"); }

VTSessionOptions VideoCodecSettings::options() const {
  using Key = VTSessionOptionKey;
  VTSessionOptions result;
  result[Key::realTime] = true;
  result[Key::profileLevel] = profileLevel;
  result[bitRateKey(bitRateMode)] = bitRate;
  result[Key::maxKeyFrameIntervalDuration] = static_cast<std::int64_t>(maxKeyFrameIntervalDuration);
  result[Key::allowFrameReordering] = allowFrameReordering.value_or(!isBaseline());
  result[Key::pixelTransferProperties] =
      std::map<std::string, std::string>{{"ScalingMode", std::string(enumName(scalingMode))}};
  if (bitRateMode == BitRateMode::average && dataRateLimits && dataRateLimits->size() == 2) {
    const double bytes = (*dataRateLimits)[0] == 0 ? static_cast<double>(bitRate) * 0.125 * 1.5 : (*dataRateLimits)[0];
    const double window = (*dataRateLimits)[1] == 0 ? 1.0 : (*dataRateLimits)[1];
    result[Key::dataRateLimits] = std::vector<double>{bytes, window};
  }
  if (isHardwareAcceleratedEnabled) {
    result[Key::encoderID] = std::string(format() == Format::hevc ? kHardwareHevcEncoderID : kHardwareAvcEncoderID);
    result[Key::enableHardwareAcceleratedVideoEncoder] = true;
    result[Key::requireHardwareAcceleratedVideoEncoder] = true;
  }
  if (!isBaseline() && contains(profileLevel, "H264"))
    result[Key::h264EntropyMode] = std::string(kH264EntropyModeCABAC);
  return result;
}

bool VideoCodecSettings::needsNewSession(const VideoCodecSettings& next) const {
  return videoSize != next.videoSize || maxKeyFrameIntervalDuration != next.maxKeyFrameIntervalDuration ||
         scalingMode != next.scalingMode || allowFrameReordering != next.allowFrameReordering ||
         bitRateMode != next.bitRateMode || profileLevel != next.profileLevel ||
         dataRateLimits != next.dataRateLimits ||
         isLowLatencyRateControlEnabled != next.isLowLatencyRateControlEnabled ||
         isHardwareAcceleratedEnabled != next.isHardwareAcceleratedEnabled;
}

}  // namespace tavorin

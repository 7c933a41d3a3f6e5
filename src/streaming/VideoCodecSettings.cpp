#include "streaming/VideoCodecSettings.h"

#include <algorithm>
#include <cmath>

namespace tavorin {

namespace {

// Encoders take B-frames in pairs; two is where they stop paying for live video.
constexpr int kReorderedFrames = 2;

FrameFit fitFor(VideoCodecSettings::ScalingMode mode) {
  switch (mode) {
    case VideoCodecSettings::ScalingMode::letterbox:
      return FrameFit::letterbox;
    case VideoCodecSettings::ScalingMode::trim:
      return FrameFit::trim;
    case VideoCodecSettings::ScalingMode::normal:
    case VideoCodecSettings::ScalingMode::cropSourceToCleanAperture:
      // Our pictures carry no clean aperture: cropping to it is plain scaling.
      break;
  }
  return FrameFit::stretch;
}

RateControl rateControlFor(VideoCodecSettings::BitRateMode mode) {
  switch (mode) {
    case VideoCodecSettings::BitRateMode::constant:
      return RateControl::constant;
    case VideoCodecSettings::BitRateMode::variable:
      return RateControl::variable;
    case VideoCodecSettings::BitRateMode::average:
      break;
  }
  return RateControl::average;
}

}  // namespace

VideoEncoding VideoCodecSettings::encoding() const {
  VideoEncoding result;
  result.codec = format;
  result.profile = profile;
  result.level = level;
  result.rateControl = rateControlFor(bitRateMode);
  result.bitRate = bitRate;
  if (bitRateMode == BitRateMode::average && dataRateLimits && dataRateLimits->size() == 2) {
    // At most `bytes` in any `window` seconds; a 0 takes 1.5 times the rate over one second.
    const double bytes = (*dataRateLimits)[0] == 0 ? static_cast<double>(bitRate) * 0.125 * 1.5 : (*dataRateLimits)[0];
    const double window = (*dataRateLimits)[1] == 0 ? 1.0 : (*dataRateLimits)[1];
    result.maxBitRate = std::llround(bytes * 8 / window);
    result.bufferBits = std::llround(bytes * 8);
  }
  result.keyFrameIntervalSeconds = maxKeyFrameIntervalDuration > 0 ? maxKeyFrameIntervalDuration : 2;
  result.bFrames = allowFrameReordering.value_or(!isBaseline()) ? kReorderedFrames : 0;
  result.cabac = !isBaseline() && format == Format::h264;
  result.width = videoSize.width;
  result.height = videoSize.height;
  double rate = expectedFrameRate.value_or(30);
  if (frameInterval > 0) rate = std::min(rate, 1.0 / frameInterval);
  result.frameRate = rate;
  result.fit = fitFor(scalingMode);
  result.preferHardware = isHardwareAcceleratedEnabled;
  result.lowLatency = isLowLatencyRateControlEnabled;
  return result;
}

}  // namespace tavorin

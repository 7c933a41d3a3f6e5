#include "audio/dsp/CompressorDSP.h"

#include <algorithm>

#include "audio/dsp/Envelope.h"

namespace tavorin {

void CompressorDSP::prepare(double sampleRate, int channels) {
  fs_ = sampleRate;
  channels_ = channels;
  env_ = 0;
}

void CompressorDSP::update(const FilterParams& params) {
  threshold_ = paramOr(params, "threshold", -18);
  ratio_ = std::max(paramOr(params, "ratio", 3), 1.0);
  makeup_ = paramOr(params, "makeupDb", 0);
  attack_ = static_cast<float>(onePoleCoefficient(paramOr(params, "attackMs", 10), fs_));
  release_ = static_cast<float>(onePoleCoefficient(paramOr(params, "releaseMs", 120), fs_));
}

void CompressorDSP::process(float* const* planes, int channels, std::uint32_t frames) {
  if (!planes) return;
  const int n = std::min(channels_, channels);
  const auto slope = static_cast<float>(1 - 1 / ratio_);
  const auto makeupLin = static_cast<float>(std::pow(10.0, makeup_ / 20));
  const auto threshold = static_cast<float>(threshold_);
  const LevelBounds bounds(threshold_);
  float most = 0;
  for (std::uint32_t i = 0; i < frames; ++i) {
    env_ = followPeak(env_, framePeak(planes, n, i), attack_, release_);
    float gain = 1;
    if (env_ > bounds.quiet) {
      const float over = levelDb(env_) - threshold;
      if (over > 0) {
        gain = std::pow(10.0f, -over * slope / 20);
        most = std::max(most, over * slope);
      }
    }
    scaleFrame(planes, n, i, gain * makeupLin);
  }
  reduction_.store(most, std::memory_order_relaxed);
}

}  // namespace tavorin

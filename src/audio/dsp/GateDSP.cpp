#include "audio/dsp/GateDSP.h"

#include <algorithm>

#include "audio/dsp/Envelope.h"

namespace tavorin {

void GateDSP::prepare(double sampleRate, int channels) {
  fs_ = sampleRate;
  channels_ = channels;
  gain_ = 1;
  detEnv_ = 0;
  holdCounter_ = 0;
}

void GateDSP::update(const FilterParams& params) {
  threshold_ = paramOr(params, "threshold", -45);
  floorGain_ = static_cast<float>(std::pow(10.0, -paramOr(params, "rangeDb", 60) / 20));
  attack_ = static_cast<float>(onePoleCoefficient(paramOr(params, "attackMs", 2), fs_));
  release_ = static_cast<float>(onePoleCoefficient(paramOr(params, "releaseMs", 150), fs_));
  holdSamples_ = static_cast<int>(fs_ * paramOr(params, "holdMs", 80) / 1000);
}

void GateDSP::process(float* const* planes, int channels, std::uint32_t frames) {
  if (!planes) return;
  const int n = std::min(channels_, channels);
  const auto threshold = static_cast<float>(threshold_);
  const LevelBounds bounds(threshold_);
  for (std::uint32_t i = 0; i < frames; ++i) {
    detEnv_ = std::max(framePeak(planes, n, i), detEnv_ * 0.99f);
    const bool above = detEnv_ >= bounds.loud || (detEnv_ > bounds.quiet && levelDb(detEnv_) > threshold);
    float target = floorGain_;
    if (above) {
      holdCounter_ = holdSamples_;
      target = 1;
    } else if (holdCounter_ >= 1) {
      --holdCounter_;
      target = 1;
    }
    const float coef = gain_ < target ? attack_ : release_;
    gain_ = gain_ * coef + target * (1 - coef);
    scaleFrame(planes, n, i, gain_);
  }
}

}  // namespace tavorin

#include "audio/dsp/LimiterDSP.h"

#include <algorithm>

#include "audio/dsp/Envelope.h"

namespace tavorin {

void LimiterDSP::prepare(double sampleRate, int channels) {
  fs_ = sampleRate;
  channels_ = channels;
  env_ = 0;
}

void LimiterDSP::update(const FilterParams& params) {
  ceiling_ = paramOr(params, "ceilingDb", -1);
  attack_ = static_cast<float>(onePoleCoefficient(0.5, fs_));
  release_ = static_cast<float>(onePoleCoefficient(paramOr(params, "releaseMs", 80), fs_));
}

void LimiterDSP::process(float* const* planes, int channels, std::uint32_t frames) {
  if (!planes) return;
  const int n = std::min(channels_, channels);
  const auto ceiling = static_cast<float>(ceiling_);
  const LevelBounds bounds(ceiling_);
  float most = 0;
  for (std::uint32_t i = 0; i < frames; ++i) {
    env_ = followPeak(env_, framePeak(planes, n, i), attack_, release_);
    if (env_ <= bounds.quiet) continue;
    const float level = levelDb(env_);
    if (level > ceiling) {
      scaleFrame(planes, n, i, std::pow(10.0f, (level - ceiling) / -20));
      most = std::max(most, level - ceiling);
    }
  }
  reduction_.store(most, std::memory_order_relaxed);
}

}  // namespace tavorin

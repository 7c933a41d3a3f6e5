#pragma once

#include <cmath>
#include <cstdint>

// Per-frame helpers shared by the dynamics stages.
namespace tavorin {

// The largest absolute sample of frame `i` over the first `channels` planes.
inline float framePeak(float* const* planes, int channels, std::uint32_t i) {
  float peak = 0;
  for (int c = 0; c < channels; ++c) {
    const float a = std::fabs(planes[c][i]);
    peak = a > peak ? a : peak;
  }
  return peak;
}

// One step of a peak follower: `attack` while rising, `release` while falling.
inline float followPeak(float env, float peak, float attack, float release) {
  const float coef = env < peak ? attack : release;
  return env * coef + peak * (1 - coef);
}

inline void scaleFrame(float* const* planes, int channels, std::uint32_t i, float gain) {
  for (int c = 0; c < channels; ++c) planes[c][i] *= gain;
}

inline float levelDb(float env) { return 20 * std::log10(env > 0.000001f ? env : 0.000001f); }

// Where a level stands against a threshold in dB. A logarithm per sample is
// the largest cost of the dynamics stages; levels more than 0.001 dB from the
// threshold are sorted by a comparison, which gives the same answer. Near the
// -120 dB floor of levelDb every level takes the logarithm.
struct LevelBounds {
  float quiet = -1;        // at or below: levelDb(env) is not above the threshold
  float loud = HUGE_VALF;  // at or above: levelDb(env) is above it

  explicit LevelBounds(double thresholdDb) {
    if (!(thresholdDb > -119)) return;
    const double linear = std::pow(10.0, thresholdDb / 20);
    quiet = static_cast<float>(linear * 0.9999);
    loud = static_cast<float>(linear * 1.0001);
  }
};

}  // namespace tavorin

#pragma once

#include <cmath>
#include <cstdint>

#include "model/AudioFilterConfig.h"

namespace tavorin {

// One processing stage of a filter chain. `prepare` and `update` run on the
// main thread under the chain's lock; `process` runs on the capture thread,
// in place on planar float audio (planes[c][0..frames)), and never allocates.
class AudioDSP {
 public:
  virtual ~AudioDSP() = default;

  // Sets the format and clears all running state.
  virtual void prepare(double sampleRate, int channels) = 0;
  // Takes the effective parameters and computes coefficients; keeps running state.
  virtual void update(const FilterParams& params) = 0;
  // A null `planes` is a buffer without float data: nothing to do.
  virtual void process(float* const* planes, int channels, std::uint32_t frames) = 0;
  // Any thread: the most the stage turned the sound down in its last block, in dB (0 for stages that never do).
  virtual float gainReductionDB() const { return 0; }
};

class PassthroughDSP final : public AudioDSP {
 public:
  void prepare(double, int) override {}
  void update(const FilterParams&) override {}
  void process(float* const*, int, std::uint32_t) override {}
};

// The coefficient of a one-pole smoother with time constant `ms` milliseconds.
inline double onePoleCoefficient(double ms, double sampleRate) {
  return std::exp(-1.0 / (sampleRate * std::fmax(ms / 1000.0, 0.0001)));
}

// The value for `key`, or `fallback` when the map lacks it.
inline double paramOr(const FilterParams& params, const char* key, double fallback) {
  auto it = params.find(key);
  return it == params.end() ? fallback : it->second;
}

}  // namespace tavorin

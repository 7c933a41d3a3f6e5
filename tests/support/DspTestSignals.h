#pragma once

#include <cmath>
#include <cstdint>
#include <algorithm>
#include <cstdio>
#include <numbers>
#include <string>
#include <vector>

#include "audio/dsp/FilterChain.h"

// Signals, measurements and a block-wise driver shared by the DSP tests.
namespace tavorin::testing {

inline constexpr double kRate = 48000;
using Planes = std::vector<std::vector<float>>;

inline double dB(double ratio) { return 20 * std::log10(ratio); }
inline float fromDb(double db) { return static_cast<float>(std::pow(10.0, db / 20)); }

inline std::vector<float> sine(double hz, float amplitude, std::size_t count) {
  std::vector<float> out(count);
  for (std::size_t i = 0; i < count; ++i) {
    out[i] = amplitude * static_cast<float>(std::sin(2 * std::numbers::pi * hz * static_cast<double>(i) / kRate));
  }
  return out;
}

// +a, -a, +a...: a constant absolute level, so envelope followers settle exactly.
inline std::vector<float> square(float amplitude, std::size_t count) {
  std::vector<float> out(count);
  for (std::size_t i = 0; i < count; ++i) out[i] = i % 2 ? -amplitude : amplitude;
  return out;
}

// Uniform white noise with the given RMS, from a fixed seed.
class Noise {
 public:
  explicit Noise(std::uint32_t seed = 1) : state_(seed) {}
  float next(float rms) {
    state_ = state_ * 1664525u + 1013904223u;
    const float unit = static_cast<float>(state_ >> 8) / 16777216.0f - 0.5f;  // RMS 1/sqrt(12)
    return unit * rms * 3.4641016f;
  }
  std::vector<float> take(std::size_t count, float rms) {
    std::vector<float> out(count);
    for (float& v : out) v = next(rms);
    return out;
  }

 private:
  std::uint32_t state_;
};

inline double rms(const std::vector<float>& x, std::size_t from, std::size_t to) {
  double sum = 0;
  for (std::size_t i = from; i < to; ++i) sum += static_cast<double>(x[i]) * x[i];
  return std::sqrt(sum / static_cast<double>(to - from));
}

inline double peak(const std::vector<float>& x, std::size_t from, std::size_t to) {
  double p = 0;
  for (std::size_t i = from; i < to; ++i) p = std::fmax(p, std::fabs(x[i]));
  return p;
}

// The lag in [minLag, maxLag] at which `out` best matches `in` over [from, to).
inline std::size_t bestLag(const std::vector<float>& out, const std::vector<float>& in, std::size_t from,
                           std::size_t to, std::size_t minLag, std::size_t maxLag) {
  std::size_t best = minLag;
  double bestScore = -1;
  for (std::size_t lag = minLag; lag <= maxLag; ++lag) {
    double score = 0;
    for (std::size_t i = from; i < to; ++i) score += static_cast<double>(out[i + lag]) * in[i];
    if (score > bestScore) bestScore = score, best = lag;
  }
  return best;
}

inline void appendTo(std::vector<float>& x, const std::vector<float>& more) {
  x.insert(x.end(), more.begin(), more.end());
}

// Runs every plane through the chain in blocks of `block` frames, in place.
inline void runBlocks(FilterChain& chain, Planes& planes, std::uint32_t block) {
  const std::size_t total = planes[0].size();
  std::vector<float*> pointers(planes.size());
  for (std::size_t start = 0; start < total; start += block) {
    const auto frames = static_cast<std::uint32_t>(std::min<std::size_t>(block, total - start));
    for (std::size_t c = 0; c < planes.size(); ++c) pointers[c] = planes[c].data() + start;
    chain.process(pointers.data(), static_cast<int>(planes.size()), frames);
  }
}

// A new stage of `kind` with `params` over its defaults.
inline AudioFilterConfig stage(AudioFilterKind kind, const FilterParams& params = {}) {
  AudioFilterConfig config = AudioFilterConfig::make(kind);
  for (const auto& [key, value] : params) config.params[key] = value;
  return config;
}

inline void prepareChain(FilterChain& chain, const std::vector<AudioFilterConfig>& configs, int channels = 2) {
  chain.prepare(kRate, channels);
  chain.apply(configs);
}

// Figures the tests measure, printed so that a run shows them.
inline void reportMeasured(const std::string& what, double value, const char* unit) {
  std::printf("[ measured ] %s: %.3f %s\n", what.c_str(), value, unit);
}

}  // namespace tavorin::testing

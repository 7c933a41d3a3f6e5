// Program's EBU R128 meter as the tap's thread runs it: 48 kHz stereo in
// 1024-frame blocks of noise. "core_percent" is the share of one core the
// meter takes to keep up with real time; "x_copy" is its time over that of
// copying the same blocks into the interleaved buffer it fills, measured in
// the same run (the floor: the meter cannot cost less than reading its input).
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstring>
#include <vector>

#include "audio/dsp/LoudnessMeter.h"

namespace tavorin {
namespace {

constexpr std::size_t kBlock = 1024;
constexpr int kRate = 48000;

struct Noise {
  Noise() : left(kBlock), right(kBlock) {
    std::uint32_t seed = 1;
    for (std::size_t i = 0; i < kBlock; ++i) {
      seed = seed * 1664525u + 1013904223u;
      left[i] = static_cast<float>(seed >> 8) / 16777216.0f - 0.5f;
      right[i] = -left[i] * 0.5f;
    }
  }
  std::vector<float> left, right;
  const float* planes[2] = {left.data(), right.data()};
};

void BM_LoudnessMeter(benchmark::State& state) {
  Noise noise;
  LoudnessMeter meter(2, kRate);
  std::vector<float> interleaved(kBlock * 2);
  double copySeconds = 0, meterSeconds = 0;
  for (auto _ : state) {
    const auto began = std::chrono::steady_clock::now();
    meter.add(noise.planes, kBlock, kRate);
    meterSeconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
    state.PauseTiming();
    const auto start = std::chrono::steady_clock::now();
    for (int repeat = 0; repeat < 16; ++repeat) {
      for (std::size_t f = 0; f < kBlock; ++f) {
        interleaved[2 * f] = noise.planes[0][f];
        interleaved[2 * f + 1] = noise.planes[1][f];
      }
      benchmark::ClobberMemory();
    }
    copySeconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() / 16;
    state.ResumeTiming();
  }
  // The readings, as the meters read them fifteen times a second, cost next to nothing but are included once.
  benchmark::DoNotOptimize(meter.reading());
  const double audioSeconds = static_cast<double>(state.iterations()) * kBlock / kRate;
  state.counters["core_percent"] = 100.0 * meterSeconds / audioSeconds;
  state.counters["x_copy"] = meterSeconds / copySeconds;
}
BENCHMARK(BM_LoudnessMeter)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace tavorin

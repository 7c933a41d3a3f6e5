// One mixer channel's filter chain as the capture thread runs it: 48 kHz
// stereo in 480-frame (10 ms) blocks.
// BM_FullChain: EQ (every section active), compressor, limiter, gate and noise
// reduction, all enabled; "x_realtime" is audio seconds processed per CPU second.
// BM_NoiseReduction: that stage alone. "x_fft_pair" is its CPU time per hop and
// channel over that of one forward plus one inverse 1024-point FFTW transform,
// the floor of what the stage can cost; both are timed in the same iterations.
#include <benchmark/benchmark.h>

#include <fftw3.h>

#include <cstring>
#include <ctime>
#include <vector>

#include "ProcessCPU.h"
#include "audio/dsp/FilterChain.h"

namespace tavorin {
namespace {

constexpr std::uint32_t kBlock = 480;
constexpr double kRate = 48000;

// One second of noise per channel with peaks at -6 dBFS, so that the default
// compressor works on every sample and the gate stays open; copied block by
// block into the buffer the chain works on, so the input never decays through
// repeated processing.
class Feed {
 public:
  Feed() : source_(2, std::vector<float>(48000)), block_(2, std::vector<float>(kBlock)) {
    std::uint32_t seed = 1;
    for (auto& plane : source_) {
      for (float& sample : plane) {
        seed = seed * 1664525u + 1013904223u;
        sample = static_cast<float>(seed >> 8) / 16777216.0f - 0.5f;
      }
    }
  }

  float* const* next() {
    for (std::size_t c = 0; c < 2; ++c) {
      std::memcpy(block_[c].data(), source_[c].data() + offset_, kBlock * sizeof(float));
      planes_[c] = block_[c].data();
    }
    offset_ = (offset_ + kBlock) % source_[0].size();
    return planes_;
  }

 private:
  std::vector<std::vector<float>> source_;
  std::vector<std::vector<float>> block_;
  float* planes_[2] = {};
  std::size_t offset_ = 0;
};

AudioFilterConfig stage(AudioFilterKind kind, const FilterParams& params = {}) {
  AudioFilterConfig config = AudioFilterConfig::make(kind);
  for (const auto& [key, value] : params) config.params[key] = value;
  return config;
}

void BM_FullChain(benchmark::State& state) {
  FilterChain chain;
  chain.prepare(kRate, 2);
  chain.apply({stage(AudioFilterKind::eq, {{"hpfHz", 80}, {"lowGain", 3}, {"midGain", -4}, {"highGain", 2}}),
               stage(AudioFilterKind::compressor), stage(AudioFilterKind::limiter), stage(AudioFilterKind::gate),
               stage(AudioFilterKind::noiseReduction)});
  Feed feed;
  for (auto _ : state) {
    chain.process(feed.next(), 2, kBlock);
    benchmark::ClobberMemory();
  }
  const double audioSeconds = static_cast<double>(state.iterations()) * kBlock / kRate;
  state.counters["x_realtime"] = benchmark::Counter(audioSeconds, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_FullChain);

// A forward plus an inverse real 1024-point transform, planned as the noise
// reducer plans them.
class FftPair {
 public:
  FftPair()
      : input_(fftwf_alloc_real(1024)), output_(fftwf_alloc_real(1024)), spectrum_(fftwf_alloc_complex(513)),
        forward_(fftwf_plan_dft_r2c_1d(1024, input_, spectrum_, FFTW_ESTIMATE)),
        inverse_(fftwf_plan_dft_c2r_1d(1024, spectrum_, output_, FFTW_ESTIMATE)) {
    for (int i = 0; i < 1024; ++i) input_[i] = static_cast<float>((i * 7919) % 1000) / 1000.0f - 0.5f;
  }
  ~FftPair() {
    fftwf_destroy_plan(forward_);
    fftwf_destroy_plan(inverse_);
    fftwf_free(input_);
    fftwf_free(output_);
    fftwf_free(spectrum_);
  }
  FftPair(const FftPair&) = delete;
  FftPair& operator=(const FftPair&) = delete;

  void run() {
    fftwf_execute(forward_);
    fftwf_execute(inverse_);
    benchmark::DoNotOptimize(output_);
  }

 private:
  float* input_;
  float* output_;
  fftwf_complex* spectrum_;
  fftwf_plan forward_;
  fftwf_plan inverse_;
};

// Each iteration is 64 blocks of the stage (120 hops over both channels), then
// 120 FFT pairs, each run timed on its own; the reported time is the stage's.
void BM_NoiseReduction(benchmark::State& state) {
  constexpr int kBlocksPerRun = 64;
  constexpr int kHopsPerRun = kBlocksPerRun * static_cast<int>(kBlock) * 2 / 512;
  FilterChain chain;
  chain.prepare(kRate, 2);
  chain.apply({stage(AudioFilterKind::noiseReduction)});
  FftPair pair;
  Feed feed;
  double stageSeconds = 0, fftSeconds = 0;
  for (auto _ : state) {
    const double start = threadCPUSeconds();
    for (int b = 0; b < kBlocksPerRun; ++b) {
      chain.process(feed.next(), 2, kBlock);
      benchmark::ClobberMemory();
    }
    const double processed = threadCPUSeconds();
    for (int p = 0; p < kHopsPerRun; ++p) pair.run();
    const double transformed = threadCPUSeconds();
    state.SetIterationTime(processed - start);
    stageSeconds += processed - start;
    fftSeconds += transformed - processed;
  }
  const auto runs = static_cast<double>(state.iterations());
  state.counters["x_realtime"] = runs * kBlocksPerRun * kBlock / kRate / stageSeconds;
  state.counters["fft_pair_us"] = fftSeconds / (runs * kHopsPerRun) * 1e6;
  state.counters["x_fft_pair"] = stageSeconds / fftSeconds;
}
BENCHMARK(BM_NoiseReduction)->UseManualTime();

}  // namespace
}  // namespace tavorin

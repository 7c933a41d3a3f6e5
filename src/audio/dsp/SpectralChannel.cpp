#include "audio/dsp/SpectralChannel.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <mutex>
#include <numbers>
#include <stdexcept>

namespace tavorin {

namespace {

// The FFTW planner is not thread-safe; executing a plan is.
std::mutex plannerMutex;

// Grows `storage` to hold `needed` samples, keeping what it holds.
void reserveSamples(std::vector<float>& storage, std::size_t needed) {
  if (storage.size() < needed) storage.resize(std::max(needed, storage.size() * 2));
}

}  // namespace

SpectralChannel::SpectralChannel(float strength, float smoothing, std::uint32_t expectedBlock)
    : strength(strength), smoothing(smoothing) {
  windowed_ = fftwf_alloc_real(n);
  frameOut_ = fftwf_alloc_real(n);
  spectrum_ = fftwf_alloc_complex(half + 1);
  {
    std::lock_guard lock(plannerMutex);
    if (windowed_ && frameOut_ && spectrum_) {
      forward_ = fftwf_plan_dft_r2c_1d(n, windowed_, spectrum_, FFTW_ESTIMATE);
      inverse_ = fftwf_plan_dft_c2r_1d(n, spectrum_, frameOut_, FFTW_ESTIMATE);
    }
  }
  if (!forward_ || !inverse_) {
    release();
    throw std::runtime_error("noise reduction: no 1024-point FFT plan");
  }
  for (int i = 0; i < n; ++i) {
    window_[i] = static_cast<float>(0.5 * (1 - std::cos(2 * std::numbers::pi * i / n)));
  }
  inputFIFO_.resize(n + expectedBlock);
  outputFIFO_.resize(2 * n + expectedBlock);
  noiseMag_.fill(0.0001f);
  prevGain_.fill(1.0f);
}

SpectralChannel::~SpectralChannel() { release(); }

void SpectralChannel::release() {
  {
    std::lock_guard lock(plannerMutex);
    if (forward_) fftwf_destroy_plan(forward_);
    if (inverse_) fftwf_destroy_plan(inverse_);
    forward_ = inverse_ = nullptr;
  }
  fftwf_free(windowed_);
  fftwf_free(frameOut_);
  fftwf_free(spectrum_);
  windowed_ = frameOut_ = nullptr;
  spectrum_ = nullptr;
}

void SpectralChannel::process(float* samples, std::uint32_t count) {
  reserveSamples(inputFIFO_, inputCount_ + count);
  std::memcpy(inputFIFO_.data() + inputCount_, samples, count * sizeof(float));
  inputCount_ += count;

  std::size_t consumed = 0;
  while (inputCount_ - consumed >= static_cast<std::size_t>(n)) {
    processFrame(inputFIFO_.data() + consumed);
    reserveSamples(outputFIFO_, outputCount_ + hop);
    std::memcpy(outputFIFO_.data() + outputCount_, overlap_.data(), hop * sizeof(float));
    outputCount_ += hop;
    std::memmove(overlap_.data(), overlap_.data() + hop, (n - hop) * sizeof(float));
    std::fill(overlap_.begin() + (n - hop), overlap_.end(), 0.0f);
    consumed += hop;
  }
  if (consumed > 0) {
    inputCount_ -= consumed;
    std::memmove(inputFIFO_.data(), inputFIFO_.data() + consumed, inputCount_ * sizeof(float));
  }

  const std::size_t available = std::min<std::size_t>(outputCount_, count);
  std::memcpy(samples, outputFIFO_.data(), available * sizeof(float));
  std::fill(samples + available, samples + count, 0.0f);
  outputCount_ -= available;
  std::memmove(outputFIFO_.data(), outputFIFO_.data() + available, outputCount_ * sizeof(float));
}

// Each loop runs over whole arrays through unaliased pointers and without
// branches, so that an optimising compiler can vectorise it.
void SpectralChannel::processFrame(const float* frame) {
  float* __restrict windowed = windowed_;
  for (int i = 0; i < n; ++i) windowed[i] = frame[i] * window_[i];
  fftwf_execute(forward_);

  // Packed as half complex values at twice the plain DFT scale, the scale the
  // floor's start value is set for: element 0 holds DC and Nyquist, which so
  // count as one bin and share one gain.
  float* __restrict re = realp_.data();
  float* __restrict im = imagp_.data();
  float* __restrict mag = magnitude_.data();
  const fftwf_complex* __restrict spectrum = spectrum_;
  for (int k = 0; k < half; ++k) {
    re[k] = 2 * spectrum[k][0];
    im[k] = 2 * spectrum[k][1];
  }
  im[0] = 2 * spectrum[half][0];
  for (int k = 0; k < half; ++k) mag[k] = std::sqrt(re[k] * re[k] + im[k] * im[k]);

  const float oversub = 1 + 2 * strength;
  const float floor = (1 - strength) * 0.06f + 0.02f;
  const float s = smoothing * 0.9f;
  float* __restrict noiseMag = noiseMag_.data();
  float* __restrict prevGain = prevGain_.data();
  for (int k = 0; k < half; ++k) {
    const float m = mag[k];
    const float estimate = m < noiseMag[k] ? m : noiseMag[k] * 1.0006f;
    noiseMag[k] = estimate;
    const float raw = (m - oversub * estimate) / (m > 0.000000001f ? m : 0.000000001f);
    const float limited = raw > floor ? raw : floor;
    const float g = s * prevGain[k] + limited * (1 - s);
    prevGain[k] = g;
    re[k] *= g;
    im[k] *= g;
  }

  fftwf_complex* __restrict out = spectrum_;
  for (int k = 0; k < half; ++k) {
    out[k][0] = re[k];
    out[k][1] = im[k];
  }
  out[0][1] = 0;
  out[half][0] = im[0];
  out[half][1] = 0;
  // The inverse is unscaled: forward and back multiply by 2 x 1024.
  fftwf_execute(inverse_);
  float* __restrict overlap = overlap_.data();
  const float* __restrict result = frameOut_;
  for (int i = 0; i < n; ++i) overlap[i] += result[i] * 0.00048828125f;
}

}  // namespace tavorin

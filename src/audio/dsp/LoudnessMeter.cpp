#include "audio/dsp/LoudnessMeter.h"

#include <algorithm>

namespace tavorin {

namespace {

constexpr int kModes = EBUR128_MODE_M | EBUR128_MODE_S | EBUR128_MODE_I | EBUR128_MODE_LRA | EBUR128_MODE_TRUE_PEAK;

}  // namespace

LoudnessMeter::LoudnessMeter(int channels, int sampleRate) : channels_(channels), sampleRate_(sampleRate) {
  open(sampleRate);
}

LoudnessMeter::~LoudnessMeter() {
  if (state_) ebur128_destroy(&state_);
}

void LoudnessMeter::open(int sampleRate) {
  if (state_) ebur128_destroy(&state_);
  sampleRate_ = sampleRate;
  state_ = ebur128_init(static_cast<unsigned>(channels_), static_cast<unsigned long>(sampleRate), kModes);
}

void LoudnessMeter::add(const float* const* planes, std::size_t frames, int sampleRate) {
  std::lock_guard hold(lock_);
  if (sampleRate != sampleRate_) open(sampleRate);
  if (!state_ || frames == 0) return;
  const auto channels = static_cast<std::size_t>(channels_);
  interleaved_.resize(frames * channels);
  for (std::size_t f = 0; f < frames; ++f) {
    for (std::size_t c = 0; c < channels; ++c) interleaved_[f * channels + c] = planes[c][f];
  }
  ebur128_add_frames_float(state_, interleaved_.data(), frames);
}

LoudnessReading LoudnessMeter::reading() const {
  std::lock_guard hold(lock_);
  LoudnessReading r;
  if (!state_) return r;
  double value = 0;
  // Silence reads as minus infinity, which libebur128 gives as -HUGE_VAL already.
  if (ebur128_loudness_momentary(state_, &value) == EBUR128_SUCCESS) r.momentary = value;
  if (ebur128_loudness_shortterm(state_, &value) == EBUR128_SUCCESS) r.shortTerm = value;
  if (ebur128_loudness_global(state_, &value) == EBUR128_SUCCESS) r.integrated = value;
  if (ebur128_loudness_range(state_, &value) == EBUR128_SUCCESS) r.range = value;
  double peak = 0;
  for (unsigned c = 0; c < static_cast<unsigned>(channels_); ++c) {
    if (ebur128_true_peak(state_, c, &value) == EBUR128_SUCCESS) peak = std::max(peak, value);
  }
  r.truePeak = peak > 0 ? 20 * std::log10(peak) : -INFINITY;
  return r;
}

void LoudnessMeter::reset() {
  std::lock_guard hold(lock_);
  open(sampleRate_);
}

}  // namespace tavorin

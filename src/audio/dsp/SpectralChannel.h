#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include <fftw3.h>

namespace tavorin {

// The noise reducer of one audio channel: 1024-sample Hann frames at 50%
// overlap, a per-bin noise floor that drops at once to any new minimum and
// creeps up otherwise, and a gain per bin that subtracts a multiple of that
// floor. Frame size and hop do not follow the sample rate.
class SpectralChannel {
 public:
  static constexpr int n = 1024;
  static constexpr int hop = 512;
  static constexpr int half = 512;

  // FIFOs are sized for blocks of up to `expectedBlock` samples; a larger
  // block grows them once, on the calling thread.
  SpectralChannel(float strength, float smoothing, std::uint32_t expectedBlock = 8192);
  ~SpectralChannel();
  SpectralChannel(const SpectralChannel&) = delete;
  SpectralChannel& operator=(const SpectralChannel&) = delete;

  // In place. Starts with up to one frame of silence and keeps that delay.
  void process(float* samples, std::uint32_t count);

  float strength = 0.7f;
  float smoothing = 0.5f;

 private:
  void processFrame(const float* frame);
  void release();

  fftwf_plan forward_ = nullptr;
  fftwf_plan inverse_ = nullptr;
  std::array<float, n> window_{};
  // Aligned for FFTW: the forward transform's input, the spectrum (bins 0..half)
  // and the inverse transform's output.
  float* windowed_ = nullptr;
  fftwf_complex* spectrum_ = nullptr;
  float* frameOut_ = nullptr;

  // Samples waiting for a full frame, and finished samples waiting to go out.
  // Their sizes are the counts; the vectors only hold the storage.
  std::vector<float> inputFIFO_;
  std::size_t inputCount_ = 0;
  std::vector<float> outputFIFO_;
  std::size_t outputCount_ = 0;

  // The spectrum as 512 packed bins (split real and imaginary parts).
  std::array<float, half> realp_{};
  std::array<float, half> imagp_{};
  std::array<float, half> magnitude_{};  // scratch

  std::array<float, n> overlap_{};
  std::array<float, half> noiseMag_{};
  std::array<float, half> prevGain_{};
};

}  // namespace tavorin

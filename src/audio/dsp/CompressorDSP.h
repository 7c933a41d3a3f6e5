#pragma once

#include <atomic>

#include "audio/dsp/AudioDSP.h"

namespace tavorin {

// A feed-forward compressor on a linked peak envelope: one gain for all channels.
class CompressorDSP final : public AudioDSP {
 public:
  void prepare(double sampleRate, int channels) override;
  void update(const FilterParams& params) override;
  void process(float* const* planes, int channels, std::uint32_t frames) override;
  float gainReductionDB() const override { return reduction_.load(std::memory_order_relaxed); }

 private:
  double fs_ = 48000;
  int channels_ = 2;
  double threshold_ = -18;  // dB
  double ratio_ = 3;
  double makeup_ = 0;  // dB
  float attack_ = 0;
  float release_ = 0;
  float env_ = 0;
  std::atomic<float> reduction_{0};  // written by the capture thread once a block
};

}  // namespace tavorin

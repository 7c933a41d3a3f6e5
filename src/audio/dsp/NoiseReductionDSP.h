#pragma once

#include <memory>
#include <vector>

#include "audio/dsp/AudioDSP.h"
#include "audio/dsp/SpectralChannel.h"

namespace tavorin {

// Spectral noise reduction without a noise sample: each channel learns its own
// noise floor as it goes, independently of the others.
class NoiseReductionDSP final : public AudioDSP {
 public:
  // Ignores the sample rate; every prepare forgets what was learned.
  void prepare(double sampleRate, int channels) override;
  void update(const FilterParams& params) override;
  void process(float* const* planes, int channels, std::uint32_t frames) override;

 private:
  int channels_ = 2;
  std::vector<std::unique_ptr<SpectralChannel>> chans_;
  float strength_ = 0.7f;
  float smoothing_ = 0.5f;
};

}  // namespace tavorin

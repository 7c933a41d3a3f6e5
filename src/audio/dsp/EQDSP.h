#pragma once

#include <vector>

#include "audio/dsp/AudioDSP.h"

namespace tavorin {

// One second-order section in direct form II transposed, with a memory per channel.
struct BiquadSection {
  double b0 = 1, b1 = 0, b2 = 0, a1 = 0, a2 = 0;
  std::vector<float> z1, z2;
  bool bypass = true;
};

// High-pass, low shelf at 110 Hz, mid peak and high shelf at 8 kHz, in series.
// A section with no effect is bypassed, so an EQ at its defaults costs nothing.
class EQDSP final : public AudioDSP {
 public:
  void prepare(double sampleRate, int channels) override;
  void update(const FilterParams& params) override;
  void process(float* const* planes, int channels, std::uint32_t frames) override;
  // The gain the sections in use give a sine of `hz`, in dB: the curve the filter editor draws.
  double responseDB(double hz) const;

 private:
  double fs_ = 48000;
  int channels_ = 2;
  BiquadSection hp_, low_, mid_, high_;
};

}  // namespace tavorin

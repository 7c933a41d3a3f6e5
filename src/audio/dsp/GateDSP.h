#pragma once

#include "audio/dsp/AudioDSP.h"

namespace tavorin {

// A noise gate: an instant-rise detector opens it, it stays open for the hold
// time after the level falls below the threshold, then sinks to the floor.
class GateDSP final : public AudioDSP {
 public:
  void prepare(double sampleRate, int channels) override;
  void update(const FilterParams& params) override;
  void process(float* const* planes, int channels, std::uint32_t frames) override;

 private:
  double fs_ = 48000;
  int channels_ = 2;
  double threshold_ = -45;  // dB
  float floorGain_ = 0.001f;
  float attack_ = 0;
  float release_ = 0;
  int holdSamples_ = 0;
  float gain_ = 1;
  int holdCounter_ = 0;
  float detEnv_ = 0;
};

}  // namespace tavorin

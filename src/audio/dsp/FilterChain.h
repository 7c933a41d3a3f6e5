#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "audio/dsp/AudioDSP.h"
#include "model/AudioFilterConfig.h"

namespace tavorin {

std::unique_ptr<AudioDSP> makeDSP(AudioFilterKind kind);

// A mixer channel's ordered filter stages, run in place on each capture buffer.
// `prepare` and `apply` come from the main thread, `process` from the capture
// thread; the lock makes each wait for the other.
class FilterChain {
 public:
  void prepare(double sampleRate, int channels);
  // Rebuilds the stage list from `configs` with every stage made and prepared
  // afresh, so any change restarts all envelopes, filter memories and noise
  // estimates of the channel.
  void apply(const std::vector<AudioFilterConfig>& configs);
  // planes[c][0..frames) for c < channels. Allocates nothing unless a block is
  // larger than any before it (the noise reducer's FIFOs then grow once).
  void process(float* const* planes, int channels, std::uint32_t frames);
  // Main thread: each stage's gain reduction in its last block, by filter id;
  // none while the capture thread holds the chain (the meters just skip a reading).
  std::map<Uuid, float> gainReductions();

 private:
  struct Entry {
    Uuid id;
    bool enabled = true;
    std::unique_ptr<AudioDSP> dsp;
  };

  std::mutex lock_;
  std::vector<Entry> entries_;
  double sampleRate_ = 48000;
  int channels_ = 2;
};

}  // namespace tavorin

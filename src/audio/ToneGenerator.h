#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>

#include "audio/AudioTrackProcessor.h"

namespace tavorin {

// A generated signal: a thread of its own hands 10 ms blocks to a channel at
// the pace of the monotonic clock, as a capture device would, each stamped
// with the host time of its first sample.
class ToneGenerator {
 public:
  static constexpr std::uint32_t kBlockFrames = 480;  // 10 ms

  // Writes every sample of `block`, whose first sample is number `firstSample`
  // counted from the generator's origin. Runs on the generator's thread.
  using Signal = std::function<void(PcmBuffer& block, std::int64_t firstSample)>;

  // A steady sine from now on.
  ToneGenerator(std::shared_ptr<AudioTrackProcessor> channel, double frequency, float amplitude);
  // Sample n of `signal` has host time origin + n / 48000; the first block
  // handed over is the one that holds the present.
  ToneGenerator(std::shared_ptr<AudioTrackProcessor> channel, Signal signal, double origin);
  ~ToneGenerator();
  ToneGenerator(const ToneGenerator&) = delete;
  ToneGenerator& operator=(const ToneGenerator&) = delete;

 private:
  void run();

  std::shared_ptr<AudioTrackProcessor> channel_;
  const Signal signal_;
  const double origin_;
  std::atomic<bool> running_{true};
  std::thread thread_;
};

// The sync test's sound: a 1 kHz sine of one 30 fps frame (1600 samples) from
// every whole second after the origin, its phase 0 on the second, silence between.
ToneGenerator::Signal syncBeep(float amplitude);

}  // namespace tavorin

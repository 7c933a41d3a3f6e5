#pragma once

#include <atomic>
#include <memory>
#include <thread>

#include "audio/AudioTrackProcessor.h"

namespace tavorin {

// A sine source: a thread of its own hands 10 ms blocks to a channel at the
// pace of the monotonic clock, as a capture device would.
class ToneGenerator {
 public:
  ToneGenerator(std::shared_ptr<AudioTrackProcessor> channel, double frequency, float amplitude);
  ~ToneGenerator();
  ToneGenerator(const ToneGenerator&) = delete;
  ToneGenerator& operator=(const ToneGenerator&) = delete;

 private:
  void run();

  std::shared_ptr<AudioTrackProcessor> channel_;
  const double frequency_;
  const float amplitude_;
  std::atomic<bool> running_{true};
  std::thread thread_;
};

}  // namespace tavorin

#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "audio/AudioMixerEngine.h"

namespace tavorin::testing {

// Plays a steady level through one channel and pulls the Program mix by hand,
// as its device would, then reads what the device played and what the sinks
// (recordings, streams) received. The mixer's own host-clock pull is stopped
// first, so these pulls are the only ones.
class ProgramMixProbe {
 public:
  struct Heard {
    float device = -1;
    float sinks = -1;  // -1: nothing reached the sinks in time
  };

  ProgramMixProbe(AudioMixerEngine& mixer, std::string channel)
      : mixer_(mixer), channel_(std::move(channel)), received_(std::make_shared<Received>()) {
    mixer_.programBus().stop();
    // The tap's thread may still be in the sink after it is replaced: it holds the state too.
    mixer_.setProgramAudioSink([received = received_](const AudioBlockRef& block) {
      std::lock_guard guard(received->lock);
      received->samples.insert(received->samples.end(), block->plane(0), block->plane(0) + block->frameCount());
      received->arrived.notify_all();
    });
  }
  ~ProgramMixProbe() { mixer_.setProgramAudioSink(nullptr); }
  ProgramMixProbe(const ProgramMixProbe&) = delete;
  ProgramMixProbe& operator=(const ProgramMixProbe&) = delete;

  // Eight blocks of `level`. Any fade (a mute, a feed starting) is over within
  // the first, so the device's last sample and the middle of the newest block
  // at the sinks are steady.
  Heard play(float level) {
    constexpr std::uint32_t kBlock = AudioTap::kBlockFrames;
    std::size_t before;
    {
      std::lock_guard guard(received_->lock);
      before = received_->samples.size();
    }
    std::vector<float> left(kBlock), right(kBlock);
    for (int block = 0; block < 8; ++block) {
      // The feed first fills to its latency, then stays there: it never runs dry.
      feed(level, primed_ ? kBlock : 4 * kBlock);
      primed_ = true;
      mixer_.programBus().render(left.data(), right.data(), kBlock);
    }
    Heard heard;
    heard.device = left[kBlock / 2];
    std::unique_lock guard(received_->lock);
    // Up to two blocks of the pulls before may still be on their way.
    const auto enough = [&] { return received_->samples.size() >= before + 6 * kBlock; };
    if (received_->arrived.wait_for(guard, std::chrono::seconds(2), enough)) {
      heard.sinks = received_->samples[received_->samples.size() - kBlock / 2];
    }
    return heard;
  }

 private:
  struct Received {
    std::mutex lock;
    std::condition_variable arrived;
    std::vector<float> samples;
  };

  void feed(float level, std::uint32_t frames) {
    PcmBuffer buffer = PcmBuffer::make(2, frames);
    for (auto& plane : buffer.planes) std::fill(plane.begin(), plane.end(), level);
    mixer_.processor(channel_)->ingest(buffer);
  }

  AudioMixerEngine& mixer_;
  const std::string channel_;
  std::shared_ptr<Received> received_;
  bool primed_ = false;
};

}  // namespace tavorin::testing

#pragma once

#include <atomic>
#include <bit>
#include <cstdint>
#include <memory>

#include "audio/AudioClipPlayer.h"
#include "audio/AudioJitterBuffer.h"

namespace tavorin {

// One channel's way into one bus: a ring (or, for a clip channel, a clip
// player), the gain the mixer sets for this bus, and the pull that the bus's
// render runs on its real-time thread.
class AudioLiveFeed {
 public:
  static constexpr std::int64_t kCapacity = 32768;       // 682.67 ms at 48 kHz
  static constexpr std::int64_t kTargetFrames = 3072;     // 64 ms
  static constexpr std::int64_t kHighWaterFrames = 16384;  // 341.33 ms

  explicit AudioLiveFeed(bool clipFeed = false)
      : ring(kCapacity, kTargetFrames, kHighWaterFrames),
        clip(clipFeed ? std::make_unique<AudioClipPlayer>() : nullptr) {}

  // Main thread; a render sees the old or the new value, and ramps between them.
  void setGain(float linearGain) { gainBits_.store(std::bit_cast<std::uint32_t>(linearGain), std::memory_order_relaxed); }
  float gain() const { return std::bit_cast<float>(gainBits_.load(std::memory_order_relaxed)); }

  // The bus's real-time pull: `frames` frames at the current gain into
  // `left`/`right`. True when any real audio came out.
  bool render(float* left, float* right, std::uint32_t frames) {
    return clip ? clip->render(left, right, frames, gain()) : ring.read(left, right, frames, gain());
  }

  AudioJitterBuffer ring;
  // Set on a clip channel's feeds, which play scheduled clips instead of the ring.
  const std::unique_ptr<AudioClipPlayer> clip;

 private:
  std::atomic<std::uint32_t> gainBits_{0x3F800000u};  // 1.0
};

}  // namespace tavorin

#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>

#include "base/AudioBlock.h"
#include "base/PcmBuffer.h"

namespace tavorin {

// Hands a bus's mix to consumers off its real-time thread: the render writes
// into a lock-free ring, and a thread of the tap's own fills pooled blocks of
// 1024 frames, stamps them with the host time of their first frame and hands
// each on by reference.
class AudioTap {
 public:
  static constexpr std::uint32_t kBlockFrames = kProgramBlockFrames;
  using Consumer = std::function<void(const AudioBlockRef& block)>;

  explicit AudioTap(Consumer consumer);
  ~AudioTap();
  AudioTap(const AudioTap&) = delete;
  AudioTap& operator=(const AudioTap&) = delete;

  // Real-time: no lock, allocation or wait. A full ring drops the frames.
  void write(const float* left, const float* right, std::uint32_t frames, double renderTime);

 private:
  static constexpr std::int64_t kCapacity = 1 << 16;  // frames

  void run();

  Consumer consumer_;
  std::unique_ptr<float[]> storage_;
  AudioBlockPool pool_{kCommonChannels, kBlockFrames};
  std::atomic<std::int64_t> head_{0}, tail_{0};
  // The host time at which the latest render's first frame was made, and its frame number.
  std::atomic<double> renderTime_{0};
  std::atomic<std::int64_t> renderFrame_{0};
  std::atomic<bool> running_{true};
  std::thread thread_;
};

}  // namespace tavorin

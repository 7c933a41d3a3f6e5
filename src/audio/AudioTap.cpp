#include "audio/AudioTap.h"

#include <chrono>

#include "base/ThreadName.h"

namespace tavorin {

AudioTap::AudioTap(Consumer consumer)
    : consumer_(std::move(consumer)), storage_(new float[kCapacity * 2]()), thread_([this] { run(); }) {}

AudioTap::~AudioTap() {
  running_ = false;
  thread_.join();
}

void AudioTap::write(const float* left, const float* right, std::uint32_t frames, double renderTime) {
  const std::int64_t head = head_.load(std::memory_order_relaxed);
  const std::int64_t tail = tail_.load(std::memory_order_acquire);
  if (kCapacity - (head - tail) < frames) return;
  float* data = storage_.get();
  for (std::uint32_t i = 0; i < frames; ++i) {
    const std::int64_t slot = (head + i) & (kCapacity - 1);
    data[slot * 2] = left[i];
    data[slot * 2 + 1] = right[i];
  }
  renderFrame_.store(head, std::memory_order_relaxed);
  renderTime_.store(renderTime, std::memory_order_relaxed);
  head_.store(head + frames, std::memory_order_release);
}

void AudioTap::run() {
  nameThisThread("Tavorin.Tap");
  const float* data = storage_.get();
  while (running_.load()) {
    const std::int64_t tail = tail_.load(std::memory_order_relaxed);
    if (head_.load(std::memory_order_acquire) - tail < kBlockFrames) {
      // Blocks come every 21 ms; a short sleep keeps the render side free of any wake-up call.
      std::this_thread::sleep_for(std::chrono::milliseconds(4));
      continue;
    }
    // Null only while consumers hold every block the pool may have: the block is dropped.
    std::shared_ptr<AudioBlock> block = pool_.acquire();
    if (block) {
      float* left = block->plane(0);
      float* right = block->plane(1);
      for (std::uint32_t i = 0; i < kBlockFrames; ++i) {
        const std::int64_t slot = (tail + i) & (kCapacity - 1);
        left[i] = data[slot * 2];
        right[i] = data[slot * 2 + 1];
      }
      const double time = renderTime_.load(std::memory_order_relaxed) -
                          static_cast<double>(renderFrame_.load(std::memory_order_relaxed) - tail) / kCommonSampleRate;
      block->stamp(kBlockFrames, kCommonSampleRate, time);
    }
    tail_.store(tail + kBlockFrames, std::memory_order_release);
    if (block) consumer_(AudioBlockRef(std::move(block)));
  }
}

}  // namespace tavorin

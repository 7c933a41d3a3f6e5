#include "base/AudioBlock.h"

#include <algorithm>
#include <atomic>

namespace tavorin {

AudioBlock::AudioBlock(int channels, std::uint32_t capacity)
    : channels_(std::max(channels, 1)),
      capacity_(capacity),
      samples_(static_cast<std::size_t>(channels_) * capacity, 0.0f) {
  for (int c = 0; c < channels_; ++c) planePointers_.push_back(plane(c));
}

void AudioBlock::stamp(std::uint32_t frames, int sampleRate, double hostTime) {
  frameCount_ = std::min(frames, capacity_);
  sampleRate_ = sampleRate;
  hostTime_ = hostTime;
}

AudioBlockPool::AudioBlockPool(int channels, std::uint32_t capacity, std::size_t minimumCount,
                               std::size_t maximumCount)
    : channels_(channels), capacity_(capacity), maximumCount_(std::max(minimumCount, maximumCount)) {
  blocks_.reserve(maximumCount_);
  for (std::size_t i = 0; i < minimumCount; ++i) blocks_.push_back(std::make_shared<AudioBlock>(channels, capacity));
}

std::shared_ptr<AudioBlock> AudioBlockPool::acquire() {
  std::lock_guard hold(mutex_);
  for (auto& block : blocks_) {
    // Only the pool hands out references, under the mutex: a count of one cannot rise behind our back.
    if (block.use_count() == 1) {
      std::atomic_thread_fence(std::memory_order_acquire);
      return block;
    }
  }
  if (blocks_.size() >= maximumCount_) return nullptr;
  blocks_.push_back(std::make_shared<AudioBlock>(channels_, capacity_));
  return blocks_.back();
}

std::size_t AudioBlockPool::blockCount() const {
  std::lock_guard hold(mutex_);
  return blocks_.size();
}

}  // namespace tavorin

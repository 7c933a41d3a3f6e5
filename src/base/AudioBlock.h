#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace tavorin {

// A block of planar float PCM with the host time of its first frame. Its
// producer fills it from a pool and publishes it as an AudioBlockRef; every
// consumer then holds the same samples by reference and nobody writes them.
class AudioBlock {
 public:
  AudioBlock(int channels, std::uint32_t capacity);

  int channelCount() const { return channels_; }
  std::uint32_t capacity() const { return capacity_; }
  std::uint32_t frameCount() const { return frameCount_; }
  int sampleRate() const { return sampleRate_; }
  double hostTime() const { return hostTime_; }

  const float* plane(int channel) const { return samples_.data() + static_cast<std::size_t>(channel) * capacity_; }
  float* plane(int channel) { return samples_.data() + static_cast<std::size_t>(channel) * capacity_; }
  // Pointers to each channel's samples, for APIs that take a plane array.
  const float* const* planes() const { return planePointers_.data(); }

  // Sets what the block holds; `frames` is at most the capacity.
  void stamp(std::uint32_t frames, int sampleRate, double hostTime);

 private:
  int channels_;
  std::uint32_t capacity_;
  std::uint32_t frameCount_ = 0;
  int sampleRate_ = 48000;
  double hostTime_ = 0;
  std::vector<float> samples_;
  std::vector<const float*> planePointers_;
};

using AudioBlockRef = std::shared_ptr<const AudioBlock>;

// Recycles blocks of one shape. A block is free again once nobody but the
// pool holds it, so consumers simply drop their reference; in the steady state
// acquiring allocates nothing. Thread-safe.
class AudioBlockPool {
 public:
  AudioBlockPool(int channels, std::uint32_t capacity, std::size_t minimumCount = 8, std::size_t maximumCount = 256);

  // A block nobody else holds; its samples are whatever was last written.
  // Null when every block is taken and the pool is at its maximum.
  std::shared_ptr<AudioBlock> acquire();
  std::size_t blockCount() const;

 private:
  int channels_;
  std::uint32_t capacity_;
  std::size_t maximumCount_;
  mutable std::mutex mutex_;
  std::vector<std::shared_ptr<AudioBlock>> blocks_;
};

}  // namespace tavorin

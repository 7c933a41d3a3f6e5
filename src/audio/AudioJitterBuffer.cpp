#include "audio/AudioJitterBuffer.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace tavorin {

namespace {

// The fill's slow mean follows over a few seconds of reads.
constexpr double kFillSmoothing = 0.005;
// A fill 10 % above the target reads 0.1 % faster.
constexpr double kDriftGain = 0.01;

}  // namespace

AudioJitterBuffer::AudioJitterBuffer(std::int64_t capacity, std::int64_t targetFrames, std::int64_t highWaterFrames)
    : capacity_(capacity),
      mask_(capacity - 1),
      storage_(new float[static_cast<std::size_t>(capacity) * 2]()),
      targetFrames_(targetFrames),
      highWaterFrames_(highWaterFrames) {
  assert(capacity > 0 && (capacity & (capacity - 1)) == 0);
}

void AudioJitterBuffer::write(const PcmBuffer& buffer, double hostTime) {
  if (buffer.planes.empty()) return;
  const float* left = buffer.planes[0].data();
  const float* right = buffer.planes.size() >= 2 ? buffer.planes[1].data() : left;
  write(left, right, buffer.frameLength, hostTime);
}

void AudioJitterBuffer::write(const float* left, const float* right, std::uint32_t frames, double hostTime) {
  if (!left || frames == 0 || frames > capacity_) return;
  if (!right) right = left;
  const std::int64_t head = head_.load(std::memory_order_relaxed);
  const std::int64_t tail = tail_.load(std::memory_order_acquire);
  if (capacity_ - (head - tail) < frames) {
    overflows_.fetch_add(1, std::memory_order_relaxed);
    return;
  }
  float* data = storage_.get();
  for (std::uint32_t i = 0; i < frames; ++i) {
    const std::int64_t slot = (head + i) & mask_;
    data[slot * 2] = left[i];
    data[slot * 2 + 1] = right[i];
  }
  if (hostTime >= 0) {
    // Odd while the pair changes; the reader takes it only when even and unchanged.
    anchorSequence_.fetch_add(1, std::memory_order_acq_rel);
    anchorFrame_.store(head, std::memory_order_relaxed);
    anchorTime_.store(hostTime, std::memory_order_relaxed);
    anchorSequence_.fetch_add(1, std::memory_order_release);
  }
  head_.store(head + frames, std::memory_order_release);
}

bool AudioJitterBuffer::read(float* left, float* right, std::uint32_t frameCount, float gain) {
  if (frameCount < 1 || !left) return false;
  if (!right) right = left;
  std::int64_t tail = tail_.load(std::memory_order_relaxed);
  const std::int64_t head = head_.load(std::memory_order_acquire);
  std::int64_t available = head - tail;

  if (buffering_) {
    if (available < targetFrames_) {
      std::memset(left, 0, frameCount * sizeof(float));
      if (right != left) std::memset(right, 0, frameCount * sizeof(float));
      lastGain_ = gain;
      return false;
    }
    buffering_ = false;
    rampInLeft_ = kRampFrames;
    // Playing starts at the target: the drift control starts from neutral.
    smoothedFill_ = static_cast<double>(targetFrames_);
    readFraction_ = 0;
  }

  if (available > highWaterFrames_) {
    tail += available - targetFrames_;
    trims_.fetch_add(1, std::memory_order_relaxed);
    rampInLeft_ = kRampFrames;
    available = targetFrames_;
    smoothedFill_ = static_cast<double>(targetFrames_);
    readFraction_ = 0;
  }

  {
    const std::uint32_t before = anchorSequence_.load(std::memory_order_acquire);
    const std::int64_t frame = anchorFrame_.load(std::memory_order_relaxed);
    const double time = anchorTime_.load(std::memory_order_relaxed);
    std::atomic_thread_fence(std::memory_order_acquire);
    // A pair being changed keeps the last good time, moved on by what was read since.
    if ((before & 1u) == 0 && before == anchorSequence_.load(std::memory_order_relaxed) && time >= 0) {
      lastReadTime_ = time + static_cast<double>(tail - frame) / kCommonSampleRate;
    } else if (lastReadTime_ >= 0) {
      lastReadTime_ += static_cast<double>(lastReadCount_) / kCommonSampleRate;
    }
  }

  // The fill sawtooths by a block each write; its slow mean says whether the
  // producer's clock runs fast or slow against the reader's.
  smoothedFill_ += (static_cast<double>(available) - smoothedFill_) * kFillSmoothing;
  readRate_ = std::clamp(1.0 + kDriftGain * (smoothedFill_ - static_cast<double>(targetFrames_)) / targetFrames_,
                         1.0 - kMaxDrift, 1.0 + kMaxDrift);
  const double reach = readFraction_ + readRate_ * frameCount;
  if (static_cast<double>(available) > reach + 1) return readResampled(left, right, frameCount, gain, tail);

  const std::uint32_t n = static_cast<std::uint32_t>(std::min<std::int64_t>(available, frameCount));
  const float* data = storage_.get();
  readFraction_ = 0;
  lastReadCount_ = n;
  if (available != 0) {
    const float step = (gain - lastGain_) / static_cast<float>(frameCount);
    for (std::uint32_t i = 0; i < n; ++i) {
      float g = lastGain_ + step * static_cast<float>(i);
      if (rampInLeft_ > 0) {
        g *= 1.0f - static_cast<float>(rampInLeft_) / kRampFrames;
        --rampInLeft_;
      }
      const std::int64_t slot = (tail + i) & mask_;
      const float l = g * data[slot * 2];
      const float r = g * data[slot * 2 + 1];
      // With a single output both point at one plane: the left sample is written last and stays.
      right[i] = r;
      left[i] = l;
    }
  }
  tail_.store(tail + n, std::memory_order_release);
  lastGain_ = gain;
  if (available >= frameCount) return true;

  const std::uint32_t fade = std::min<std::uint32_t>(n, kRampFrames);
  if (available != 0) {
    for (std::uint32_t j = 0; j < fade; ++j) {
      const std::uint32_t k = n - fade + j;
      const float factor = static_cast<float>(fade - 1 - j) / static_cast<float>(fade);
      left[k] *= factor;
      if (right != left) right[k] *= factor;
    }
  }
  std::memset(left + n, 0, (frameCount - n) * sizeof(float));
  if (right != left) std::memset(right + n, 0, (frameCount - n) * sizeof(float));
  buffering_ = true;
  underruns_.fetch_add(1, std::memory_order_relaxed);
  return available != 0;
}

bool AudioJitterBuffer::readResampled(float* left, float* right, std::uint32_t frameCount, float gain,
                                      std::int64_t tail) {
  const float* data = storage_.get();
  const float step = (gain - lastGain_) / static_cast<float>(frameCount);
  double position = readFraction_;
  for (std::uint32_t i = 0; i < frameCount; ++i) {
    float g = lastGain_ + step * static_cast<float>(i);
    if (rampInLeft_ > 0) {
      g *= 1.0f - static_cast<float>(rampInLeft_) / kRampFrames;
      --rampInLeft_;
    }
    const auto whole = static_cast<std::int64_t>(position);
    const auto t = static_cast<float>(position - static_cast<double>(whole));
    const std::int64_t a = (tail + whole) & mask_;
    const std::int64_t b = (tail + whole + 1) & mask_;
    const float l = g * (data[a * 2] + (data[b * 2] - data[a * 2]) * t);
    const float r = g * (data[a * 2 + 1] + (data[b * 2 + 1] - data[a * 2 + 1]) * t);
    right[i] = r;
    left[i] = l;
    position += readRate_;
  }
  const auto consumed = static_cast<std::int64_t>(position);
  readFraction_ = position - static_cast<double>(consumed);
  lastReadCount_ = static_cast<std::uint32_t>(consumed);
  tail_.store(tail + consumed, std::memory_order_release);
  lastGain_ = gain;
  return true;
}

void AudioJitterBuffer::reset() {
  tail_.store(head_.load(std::memory_order_acquire), std::memory_order_release);
  buffering_ = true;
  rampInLeft_ = 0;
  smoothedFill_ = 0;
  readRate_ = 1.0;
  readFraction_ = 0;
  underruns_.store(0, std::memory_order_relaxed);
  trims_.store(0, std::memory_order_relaxed);
  overflows_.store(0, std::memory_order_relaxed);
}

}  // namespace tavorin

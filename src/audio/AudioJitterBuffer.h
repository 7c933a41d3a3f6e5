#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "base/PcmBuffer.h"

namespace tavorin {

// The ring between a capture clock and an output clock: one producer writes
// stereo frames, one real-time consumer reads them a fixed target behind. A
// ring that runs dry goes silent and rebuffers to its target; one that grows
// past its high-water mark is cut back to its target; a full one drops what
// arrives. No rate adjustment: these rules are the whole drift recovery.
class AudioJitterBuffer {
 public:
  static constexpr int kRampFrames = 240;  // 5 ms: every fade-in and the fade-out at an underrun

  // `capacity` must be a positive power of two.
  AudioJitterBuffer(std::int64_t capacity, std::int64_t targetFrames, std::int64_t highWaterFrames);
  AudioJitterBuffer(const AudioJitterBuffer&) = delete;
  AudioJitterBuffer& operator=(const AudioJitterBuffer&) = delete;

  // Producer: the whole buffer or nothing. Mono is played on both sides.
  // `hostTime`, when known (not negative), is when its first frame was
  // captured: reads then know when the sound they give out happened.
  void write(const PcmBuffer& buffer, double hostTime = -1);
  void write(const float* left, const float* right, std::uint32_t frames, double hostTime = -1);
  // Consumer, real-time: fills exactly `frameCount` frames of `left` and
  // `right` (`right` may be null or equal `left` for one output). True when any
  // real audio went out. No lock, allocation, system call or wait.
  bool read(float* left, float* right, std::uint32_t frameCount, float gain);
  // Discards everything and starts buffering again; only while no reader runs.
  void reset();

  std::int64_t capacity() const { return capacity_; }
  std::int64_t targetFrames() const { return targetFrames_; }
  std::int64_t highWaterFrames() const { return highWaterFrames_; }
  // Frames in the ring now.
  std::int64_t fill() const { return head_.load(std::memory_order_acquire) - tail_.load(std::memory_order_acquire); }
  std::int64_t underruns() const { return underruns_.load(std::memory_order_relaxed); }
  std::int64_t trims() const { return trims_.load(std::memory_order_relaxed); }
  std::int64_t overflows() const { return overflows_.load(std::memory_order_relaxed); }
  bool buffering() const { return buffering_; }
  // Frames taken per frame given out: 1 ± at most kMaxDrift. Consumer only.
  double readRate() const { return readRate_; }
  static constexpr double kMaxDrift = 0.005;
  // Consumer, after a read that gave real audio: the capture time of its
  // first frame; negative when the producer gave none.
  double lastReadTime() const { return lastReadTime_; }

 private:
  bool readResampled(float* left, float* right, std::uint32_t frameCount, float gain, std::int64_t tail);

  const std::int64_t capacity_;
  const std::int64_t mask_;
  std::unique_ptr<float[]> storage_;  // frames interleaved left, right
  std::atomic<std::int64_t> head_{0};  // total frames ever written; producer only
  std::atomic<std::int64_t> tail_{0};  // total frames ever consumed or discarded; consumer only
  std::atomic<std::int64_t> underruns_{0};
  std::atomic<std::int64_t> trims_{0};
  std::atomic<std::int64_t> overflows_{0};
  const std::int64_t targetFrames_;
  const std::int64_t highWaterFrames_;
  // The producer's latest stamp: frame number and its capture time, behind a
  // sequence count so a read never takes half of one and half of another.
  std::atomic<std::uint32_t> anchorSequence_{0};
  std::atomic<std::int64_t> anchorFrame_{0};
  std::atomic<double> anchorTime_{-1};
  double lastReadTime_ = -1;  // consumer only
  std::uint32_t lastReadCount_ = 0;
  // Consumer only (and reset).
  bool buffering_ = true;
  int rampInLeft_ = 0;
  float lastGain_ = 0;
  // Drift: the fill, smoothed, steers how fast the ring is read, so a capture
  // clock a little off its rate never reaches the trim or an underrun.
  double smoothedFill_ = 0;
  double readRate_ = 1.0;
  double readFraction_ = 0;  // how far between two frames the next read starts
};

}  // namespace tavorin

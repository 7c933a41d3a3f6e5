#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "base/PixelBuffer.h"

namespace tavorin {

// Decodes a network stream's H.264 access units (length-prefixed NAL units
// with their AVC configuration record) on a thread of its own, into pooled
// premultiplied BGRA in the stream's colour matrix and range. Units are
// queued, never waited on: when decoding falls behind, the queue is dropped
// and decoding picks up again at the next key frame.
class StreamVideoDecoder {
 public:
  using Configuration = std::shared_ptr<const std::vector<std::uint8_t>>;
  // Pictures in decode order, on the decoder's thread, with the host time
  // their access unit was handed in (what a latency is measured from).
  using FrameSink = std::function<void(PixelBufferRef, double receivedAt)>;
  // Why a decoder could not be made for a configuration, on the decoder's thread.
  using FailureSink = std::function<void(const std::string&)>;

  static constexpr std::size_t kMaxQueued = 30;

  StreamVideoDecoder(FrameSink frames, FailureSink failure);
  ~StreamVideoDecoder();
  StreamVideoDecoder(const StreamVideoDecoder&) = delete;
  StreamVideoDecoder& operator=(const StreamVideoDecoder&) = delete;

  // From any one thread. A configuration other than the last one's makes a new decoder.
  void decode(std::vector<std::uint8_t> accessUnit, Configuration configuration, double receivedAt);
  // Units dropped because decoding fell behind, since the start.
  std::uint64_t droppedUnits() const;

 private:
  struct Unit {
    std::vector<std::uint8_t> bytes;
    Configuration configuration;
    double receivedAt = 0;
  };
  class Codec;

  void run();

  FrameSink frames_;
  FailureSink failure_;
  mutable std::mutex lock_;
  std::condition_variable wake_;
  std::deque<Unit> queue_;
  bool waitForKeyFrame_ = false;
  bool stopping_ = false;
  std::uint64_t dropped_ = 0;
  std::thread thread_;
};

// Whether a length-prefixed H.264 access unit holds an IDR slice.
bool holdsKeyFrame(const std::vector<std::uint8_t>& accessUnit);

}  // namespace tavorin

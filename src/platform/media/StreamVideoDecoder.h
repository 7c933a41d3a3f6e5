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

// What a network stream's access units need to be decoded: the codec, and the
// decoder's configuration. H.264 units are length-prefixed NAL units with an
// AVC configuration record; H.265 units are Annex B with the parameter sets,
// start codes and all, as the configuration.
struct StreamVideoFormat {
  enum class Codec { h264, h265 };
  Codec codec = Codec::h264;
  std::vector<std::uint8_t> extradata;
};

// When an access unit was read, and when its picture was taken (host time).
struct StreamVideoStamp {
  double receivedAt = 0;
  double capturedAt = 0;
};

// Decodes a network stream's access units on a thread of its own, into pooled
// premultiplied BGRA in the stream's colour matrix and range. Units are
// queued, never waited on: when decoding falls behind, the queue is dropped
// and decoding picks up again at the next key frame.
class StreamVideoDecoder {
 public:
  // A new object whenever the format changed: the decoder compares pointers.
  using Configuration = std::shared_ptr<const StreamVideoFormat>;
  // Pictures in decode order, on the decoder's thread, with their unit's stamp.
  using FrameSink = std::function<void(PixelBufferRef, const StreamVideoStamp&)>;
  // Why a decoder could not be made for a configuration, on the decoder's thread.
  using FailureSink = std::function<void(const std::string&)>;

  static constexpr std::size_t kMaxQueued = 30;

  StreamVideoDecoder(FrameSink frames, FailureSink failure);
  ~StreamVideoDecoder();
  StreamVideoDecoder(const StreamVideoDecoder&) = delete;
  StreamVideoDecoder& operator=(const StreamVideoDecoder&) = delete;

  // From any one thread. A configuration other than the last one's makes a new decoder.
  void decode(std::vector<std::uint8_t> accessUnit, Configuration configuration, StreamVideoStamp stamp);

 private:
  struct Unit {
    std::vector<std::uint8_t> bytes;
    Configuration configuration;
    StreamVideoStamp stamp;
  };
  class Codec;

  void run();

  FrameSink frames_;
  FailureSink failure_;
  std::mutex lock_;
  std::condition_variable wake_;
  std::deque<Unit> queue_;
  bool waitForKeyFrame_ = false;
  bool stopping_ = false;
  std::thread thread_;
};

// Whether an access unit holds a picture decoding can start at (IDR, or an
// H.265 random access point).
bool holdsKeyFrame(const std::vector<std::uint8_t>& accessUnit, StreamVideoFormat::Codec codec);

}  // namespace tavorin

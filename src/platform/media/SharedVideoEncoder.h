#pragma once

#include <array>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "base/PixelBuffer.h"
#include "platform/media/EncodedVideoSample.h"
#include "platform/media/EncoderReceivers.h"
#include "platform/media/VideoEncoder.h"

namespace tavorin {

// One running video encoder and the receivers of its samples. The frame clock
// offers frames; those its rate wants wait in a small ring for the encoder's
// own thread, and a frame that finds the ring full is dropped and counted.
class SharedVideoEncoder {
 public:
  using Receiver = EncoderReceivers<EncodedVideoSampleRef>::Receiver;
  static constexpr std::size_t kQueueCapacity = 3;

  SharedVideoEncoder(std::string canvas, std::unique_ptr<VideoEncoder> encoder);
  ~SharedVideoEncoder();
  SharedVideoEncoder(const SharedVideoEncoder&) = delete;
  SharedVideoEncoder& operator=(const SharedVideoEncoder&) = delete;

  const std::string& canvas() const { return canvas_; }
  const VideoEncoding& encoding() const { return encoding_; }
  const std::string& encoderName() const { return encoderName_; }
  int droppedFrames() const { return dropped_.load(); }

  // Frame clock: no allocation, a short lock to move one reference.
  void offer(const FrameRef& frame);
  // The receiver starts at the next key frame, which is forced at once.
  void addReceiver(std::uint64_t id, Receiver receiver);
  // True when it was the last; the encoder then flushes to it and stops.
  bool removeReceiver(std::uint64_t id);
  void requestKeyFrame() { forceKeyFrame_ = true; }

 private:
  void run();
  void deliverAll();
  void stop(bool flush);

  const std::string canvas_;
  const VideoEncoding encoding_;
  const std::string encoderName_;
  const double minInterval_;
  std::unique_ptr<VideoEncoder> encoder_;  // the encoder thread's
  EncoderReceivers<EncodedVideoSampleRef> receivers_;
  std::atomic<bool> forceKeyFrame_{true};
  std::atomic<int> dropped_{0};
  double lastOffered_ = -1e300;  // frame clock only

  std::mutex lock_;
  std::condition_variable wake_;
  struct Queued {
    FrameRef frame;
    double time = 0;  // as read when offered
  };
  std::array<Queued, kQueueCapacity> ring_;
  std::size_t head_ = 0;
  std::size_t count_ = 0;
  bool stopping_ = false;
  bool flushOnStop_ = false;
  std::thread thread_;
};

}  // namespace tavorin

#pragma once

#include <array>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "base/DmaBufPlane.h"
#include "base/Nv12Frame.h"
#include "base/PixelBuffer.h"
#include "platform/media/EncodedVideoSample.h"
#include "platform/media/EncoderFailureReport.h"
#include "platform/media/EncoderReceivers.h"
#include "platform/media/EncoderWorker.h"
#include "platform/media/VideoEncoder.h"

namespace tavorin {

// One running video encoder and the receivers of its samples. The frame clock
// offers frames; those its rate wants wait in a small ring for the encoder's
// own thread, and a frame that finds the ring full is dropped and counted.
class SharedVideoEncoder {
 public:
  using Receiver = EncoderReceivers<EncodedVideoSampleRef>::Receiver;
  static constexpr std::size_t kQueueCapacity = 3;

  using LogHandler = EncoderFailureReport::LogHandler;

  SharedVideoEncoder(std::string canvas, std::unique_ptr<VideoEncoder> encoder, std::uint32_t serial = 0,
                     LogHandler log = {});
  ~SharedVideoEncoder();
  SharedVideoEncoder(const SharedVideoEncoder&) = delete;
  SharedVideoEncoder& operator=(const SharedVideoEncoder&) = delete;

  const std::string& canvas() const { return canvas_; }
  // Tells this encoder's surfaces from another's: the high half of their ids.
  std::uint32_t serial() const { return serial_; }
  const VideoEncoding& encoding() const { return encoding_; }
  const std::string& encoderName() const { return encoderName_; }
  int droppedFrames() const { return dropped_.load(); }

  // Frame clock: no allocation, a short lock to move one reference. While
  // the GPU hands this encoder NV12 pictures or surfaces, its BGRA frames are
  // not taken.
  void offer(const FrameRef& frame);
  void offer(const Nv12FrameRef& frame);
  // Frame clock, VAAPI only: a surface to draw the picture of `now` into, when
  // the rate wants one and the encoder has one exported; then surfaceDone.
  std::optional<Nv12DmaBuf> takeSurface(double now);
  void surfaceDone(std::uint64_t surface, double hostTime, bool written);
  // Once the driver would not export a surface.
  bool surfacesRefused() const { return surfacesRefused_.load(); }
  bool takesNv12(int width, int height) const { return takesNv12_ && width == encoding_.width && height == encoding_.height; }
  // The receiver starts at the next key frame, which is forced at once.
  void addReceiver(std::uint64_t id, Receiver receiver);
  // True when it was the last; the encoder then flushes to it and stops.
  bool removeReceiver(std::uint64_t id);
  void requestKeyFrame() { forceKeyFrame_ = true; }

 private:
  void run();
  void deliverAll();
  // Frame clock: whether the rate wants a picture of `time`.
  bool wants(double time);
  // Where the rate's grid stands once a picture of `time` is taken.
  double onGrid(double time) const;
  struct Queued {
    FrameRef frame;
    Nv12FrameRef nv12;
    double time = 0;  // as read when offered
  };
  void push(Queued item);
  // Encoder thread: sends the surfaces the GPU is done with and keeps a few exported.
  void serviceSurfaces();
  void encode(const FrameRef& frame, const Nv12FrameRef& nv12, double time);

  static constexpr std::size_t kSurfaceCapacity = 4;
  struct Returned {
    std::uint64_t surface = 0;
    double time = 0;
    bool written = false;
  };

  const std::string canvas_;
  const std::uint32_t serial_;
  const VideoEncoding encoding_;
  const std::string encoderName_;
  const double minInterval_;
  const bool takesNv12_;
  std::unique_ptr<VideoEncoder> encoder_;  // the encoder thread's
  EncoderFailureReport failures_;           // the encoder thread's
  EncoderReceivers<EncodedVideoSampleRef> receivers_;
  std::atomic<bool> forceKeyFrame_{true};
  std::atomic<int> dropped_{0};
  std::atomic<bool> surfacesRefused_{false};
  double lastOffered_ = -1e300;  // frame clock only
  double lastGpuPicture_ = -1e300;  // frame clock only

  std::array<Queued, kQueueCapacity> ring_;
  std::size_t head_ = 0;
  std::size_t count_ = 0;
  // Surfaces exported and waiting for the GPU, and those it is done with.
  bool surfacesWanted_ = false;
  std::array<Nv12DmaBuf, kSurfaceCapacity> stash_;
  std::size_t stashed_ = 0;
  std::array<Returned, kSurfaceCapacity * 2> returned_;
  std::size_t returnedCount_ = 0;
  // Last, so the thread stops before anything it uses goes.
  EncoderWorker worker_;
};

}  // namespace tavorin

#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/AudioBlock.h"
#include "base/DmaBufPlane.h"
#include "base/Nv12Frame.h"
#include "base/PixelBuffer.h"
#include "platform/media/EncodedAudioSample.h"
#include "platform/media/EncodedVideoSample.h"
#include "platform/media/EncoderError.h"
#include "platform/media/HardwareEncoders.h"
#include "platform/media/VideoEncoding.h"

namespace tavorin {

class SharedVideoEncoder;
class SharedAudioEncoder;

// Every encoder the outputs run, one per distinct encoding: outputs that ask
// for the same encoding of the same canvas share one encoder and receive the
// same packets by reference. An encoder opens with its first receiver and
// closes with its last. The frame clock and the audio tap hand media over
// once, by reference; each encoder queues at most a few items on its own
// thread and drops rather than waits.
class SharedEncoders {
 public:
  using LogHandler = std::function<void(const std::string&)>;
  using VideoReceiver = std::function<void(const EncodedVideoSampleRef&)>;
  using AudioReceiver = std::function<void(const EncodedAudioSampleRef&)>;

  // What a receiver holds; letting go of it (or reset()) leaves the encoder.
  class Subscription {
   public:
    Subscription() = default;
    ~Subscription() { reset(); }
    Subscription(Subscription&& other) noexcept;
    Subscription& operator=(Subscription&& other) noexcept;

    void reset();
    bool active() const { return leave_ != nullptr; }
    // Frames the encoder lost since this receiver joined because it fell behind.
    int droppedFrames() const;
    // The FFmpeg encoder behind it ("libx264", "h264_vaapi", "aac", …).
    std::string encoderName() const;
    // Asks for a key frame as soon as possible (a receiver that lost packets):
    // a call that stays valid however the subscription changes meanwhile.
    std::function<void()> keyFrameRequester() const;

   private:
    friend class SharedEncoders;
    std::function<void()> leave_;
    std::shared_ptr<SharedVideoEncoder> video_;
    std::shared_ptr<SharedAudioEncoder> audio_;
    int dropsAtJoin_ = 0;
  };

  explicit SharedEncoders(HardwareEncoders hardware = {}, LogHandler log = {});
  ~SharedEncoders();
  SharedEncoders(const SharedEncoders&) = delete;
  SharedEncoders& operator=(const SharedEncoders&) = delete;

  const HardwareEncoders& hardware() const { return hardware_; }

  // A receiver of `encoding` of `canvas`. Its first sample is a key frame,
  // forced at once when the encoder already ran. Inactive, with `error` set,
  // when no encoder for it opens.
  Subscription subscribeVideo(const std::string& canvas, const VideoEncoding& encoding, VideoReceiver receiver,
                              EncoderError& error);
  Subscription subscribeAudio(const AudioEncoding& encoding, AudioReceiver receiver);

  // Frame clock: every encoder of the canvas gets the frame if its rate wants it.
  void feedVideo(std::string_view canvas, const FrameRef& frame);
  // Frame clock: the GPU's NV12 picture of the canvas, for the hardware
  // encoders that take it at its size.
  void feedNv12(std::string_view canvas, const Nv12FrameRef& frame);
  // Frame clock: a hardware encoder's surface of this canvas's size to draw
  // the picture of `now` into, when one wants it; then surfaceDone.
  std::optional<Nv12DmaBuf> takeSurface(std::string_view canvas, int width, int height, double now);
  void surfaceDone(std::uint64_t surface, double hostTime, bool written);
  // True when the canvas's surface encoder cannot export its surfaces.
  bool surfacesRefused(std::string_view canvas) const;

  // Audio tap: every audio encoder gets the block.
  void feedAudio(const AudioBlockRef& block);
  // The same as a sink that stays safe to call after the encoders are gone:
  // the tap may hold a copy for one more block while the show shuts down.
  std::function<void(const AudioBlockRef&)> audioSink() const;

  // The fastest frame rate that each canvas's video encoders take now, by
  // canvas; a canvas no encoder takes is absent.
  std::map<std::string, double> videoRates() const;
  // Called after a video encoder opened or closed, on the thread that did it.
  void setOnVideoChanged(std::function<void()> changed);

  int videoEncoderCount() const;
  int audioEncoderCount() const;

 private:
  struct VideoKey {
    std::string canvas;
    VideoEncoding encoding;
  };
  using VideoList = std::vector<std::shared_ptr<SharedVideoEncoder>>;
  using AudioList = std::vector<std::shared_ptr<SharedAudioEncoder>>;

  void leaveVideo(const std::shared_ptr<SharedVideoEncoder>& encoder, std::uint64_t receiverID);
  void leaveAudio(const std::shared_ptr<SharedAudioEncoder>& encoder, std::uint64_t receiverID);
  void publishLists();
  void tellVideoChanged();

  const HardwareEncoders hardware_;
  LogHandler log_;
  // Held while encoders are added or removed; the media paths never take it.
  std::mutex change_;
  VideoList videoEncoders_;
  AudioList audioEncoders_;
  std::uint64_t nextReceiverID_ = 1;
  std::uint32_t nextEncoderSerial_ = 1;
  std::function<void()> onVideoChanged_;  // under change_
  // The lists as the media paths see them, swapped whole under a short lock.
  struct Feeds {
    std::mutex lock;
    std::shared_ptr<const VideoList> video = std::make_shared<VideoList>();
    std::shared_ptr<const AudioList> audio = std::make_shared<AudioList>();
  };
  static void feedAudioTo(Feeds& feeds, const AudioBlockRef& block);
  std::shared_ptr<const VideoList> videoSnapshot() const;
  std::shared_ptr<Feeds> feeds_ = std::make_shared<Feeds>();
};

}  // namespace tavorin

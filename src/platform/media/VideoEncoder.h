#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "base/DmaBufPlane.h"
#include "base/Nv12Frame.h"
#include "base/PixelBuffer.h"
#include "platform/media/EncodedVideoSample.h"
#include "platform/media/EncoderError.h"
#include "platform/media/FFmpegPointers.h"
#include "platform/media/HardwareEncoders.h"
#include "platform/media/VideoEncoding.h"

namespace tavorin {

// One open FFmpeg video encoder, used in FFmpeg's manner: send a frame,
// receive the packets it gives back. Takes BGRA frames of any size, fits them
// to the encode size and converts them for the encoder (NV12 surfaces for
// VAAPI). Time stamps are host seconds in and out. One thread uses it.
class VideoEncoder {
 public:
  // The first of the candidate encoders that opens; nothing, with `error`
  // set, when none does.
  static std::unique_ptr<VideoEncoder> open(const VideoEncoding& encoding, const HardwareEncoders& hardware,
                                            EncoderError& error);
  ~VideoEncoder();
  VideoEncoder(const VideoEncoder&) = delete;
  VideoEncoder& operator=(const VideoEncoder&) = delete;

  const VideoEncoding& encoding() const { return encoding_; }
  // "libx264", "h264_vaapi", "hevc_nvenc", "prores_ks", …
  const std::string& encoderName() const { return encoderName_; }
  bool isHardware() const { return hardware_; }
  const std::shared_ptr<const VideoFormatDescription>& format() const { return format_; }

  // `forceKeyFrame` makes this frame an IDR, where a new receiver can start.
  // `hostTime` is the frame's time as read when it was taken: an unchanged
  // picture may be handed on again with a later time.
  EncoderError send(const PixelBuffer& frame, double hostTime, bool forceKeyFrame = false);
  EncoderError send(const PixelBuffer& frame, bool forceKeyFrame = false) {
    return send(frame, frame.hostTime(), forceKeyFrame);
  }
  // VAAPI at the picture's own size: the GPU's NV12 goes up without any
  // conversion on the CPU.
  bool takesNv12(int width, int height) const {
    return hardwareFrames_ && width == encoding_.width && height == encoding_.height;
  }
  EncoderError send(const Nv12Frame& frame, double hostTime, bool forceKeyFrame = false);
  // VAAPI: a surface of the encoder's own pool, exported for the GPU to draw
  // into, so the picture never passes through the CPU; nothing when the
  // driver cannot export one.
  std::optional<Nv12DmaBuf> acquireSurface();
  // A surface from acquireSurface once the GPU has written the picture of
  // `hostTime` into it; not `written`, it goes back to the pool unsent.
  EncoderError sendSurface(std::uint64_t surface, double hostTime, bool written, bool forceKeyFrame = false);

  // No more frames: the packets held back come out on the next receives.
  EncoderError flush();
  // The next packet, or false when the encoder wants more input (or has
  // given all after a flush); `error` tells a failure from that.
  bool receive(EncodedVideoSample& sample, EncoderError& error);


 private:
  VideoEncoder() = default;
  bool convert(const PixelBuffer& frame);
  EncoderError sendFrame(AVFrame* input, double hostTime, bool forceKeyFrame);
  // A surface of the pool holding `input`'s picture.
  EncoderError upload(AVFrame* input, double hostTime, bool forceKeyFrame);

  struct ExportedSurface {
    ffmpeg::FramePtr surface;
    ffmpeg::FramePtr mapping;  // the dma-buf view, held while the GPU draws
  };

  VideoEncoding encoding_;
  ffmpeg::CodecContextPtr context_;
  ffmpeg::BufferRefPtr hardwareFrames_;
  ffmpeg::FramePtr frame_;          // the converted picture in system memory
  ffmpeg::FramePtr hardwareFrame_;  // its surface, for VAAPI
  ffmpeg::FramePtr nv12View_;       // a GPU picture's planes, borrowed for the upload
  std::map<std::uint64_t, ExportedSurface> exported_;
  ffmpeg::PacketPtr packet_;
  ffmpeg::ScalerPtr scaler_;
  int scalerSourceWidth_ = 0;
  int scalerSourceHeight_ = 0;
  std::string encoderName_;
  bool hardware_ = false;
  // Host time of the last key frame asked for; the next is due an interval later.
  std::optional<double> lastKeyFrameTime_;
  std::shared_ptr<const VideoFormatDescription> format_;
};

}  // namespace tavorin

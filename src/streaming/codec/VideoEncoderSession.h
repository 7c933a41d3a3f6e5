#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/PixelBuffer.h"
#include "platform/media/FFmpegPointers.h"
#include "streaming/codec/EncodedVideoSample.h"
#include "streaming/codec/VideoCodecSettings.h"

namespace tavorin {

// One open FFmpeg encoder built from session options: H.264 through NVENC
// when hardware is asked for and works, otherwise libx264. Takes BGRA
// frames of any size and fits them to the encode size.
class VideoEncoderSession {
 public:
  struct Config {
    VTSessionOptions options;
    VideoCodecSettings::Format format = VideoCodecSettings::Format::h264;
    VideoCodecSettings::Size size;
    VideoCodecSettings::ScalingMode scalingMode = VideoCodecSettings::ScalingMode::trim;
    double frameRate = 30;
    // Low-latency rate control is chosen at creation, outside the options.
    bool lowLatency = false;
  };

  // Nothing, with `error` set, when no encoder for the config opens.
  static std::unique_ptr<VideoEncoderSession> make(const Config& config, std::string& error);
  ~VideoEncoderSession();
  VideoEncoderSession(const VideoEncoderSession&) = delete;
  VideoEncoderSession& operator=(const VideoEncoderSession&) = delete;

  const std::string& encoderName() const { return encoderName_; }
  const std::shared_ptr<const VideoFormatDescription>& format() const { return format_; }

  // Takes the bit rate (and the limits derived from it) from `options` while
  // running; false when this encoder can only do that with a new session.
  bool updateBitRate(const VTSessionOptions& options);

  // Appends the samples the encoder gives back for this frame (none while it
  // is still looking ahead). False, with `error` set, when encoding failed.
  bool encode(const PixelBuffer& frame, double pts, std::vector<EncodedVideoSample>& out, std::string& error);

 private:
  VideoEncoderSession() = default;
  bool convert(const PixelBuffer& frame);

  ffmpeg::CodecContextPtr context_;
  ffmpeg::FramePtr frame_;
  ffmpeg::PacketPtr packet_;
  ffmpeg::ScalerPtr scaler_;
  int scalerSourceWidth_ = 0;
  int scalerSourceHeight_ = 0;
  VideoCodecSettings::ScalingMode scalingMode_ = VideoCodecSettings::ScalingMode::trim;
  std::string encoderName_;
  std::shared_ptr<const VideoFormatDescription> format_;
};

}  // namespace tavorin

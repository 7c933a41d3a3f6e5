#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "base/PixelBuffer.h"
#include "platform/media/FFmpegPointers.h"

namespace tavorin {

// One fragmented QuickTime movie written with FFmpeg: a video track at time
// scale 600 and, when asked, an AAC track at 48 kHz, cut into fragments every
// 2 s that go to disk as they close. One thread uses it.
class MovieEncoder {
 public:
  enum class VideoCodec { hevcHigh, proRes422 };
  // The clocks of the two tracks' time stamps.
  static constexpr int videoTimeScale = 600;
  static constexpr int audioSampleRate = 48000;

  MovieEncoder() = default;
  ~MovieEncoder();
  MovieEncoder(const MovieEncoder&) = delete;
  MovieEncoder& operator=(const MovieEncoder&) = delete;

  // False with `error` set when no encoder opens or the file cannot be made.
  bool open(const std::filesystem::path& file, int width, int height, int frameRate, VideoCodec codec,
            bool withAudio, std::string* error);
  // `pts` in 1/videoTimeScale s from the start of the movie.
  bool writeVideo(const PixelBuffer& frame, std::int64_t pts);
  // `pts` in samples at audioSampleRate from the start of the movie.
  bool writeAudio(const float* left, const float* right, std::uint32_t frames, std::int64_t pts);
  // Flushes the encoders and closes the file; false when anything failed on the way.
  bool close();

  const std::string& videoEncoderName() const { return videoEncoderName_; }
  bool hasAudio() const { return audio_ != nullptr; }

 private:
  bool openVideo(int width, int height, int frameRate, VideoCodec codec, std::string* error);
  bool openAudio(std::string* error);
  bool drain(AVCodecContext* codec, AVStream* stream);
  bool writePacket(AVStream* stream);
  bool encodeAudioFrames(bool flush);

  ffmpeg::OutputFormatPtr format_;
  ffmpeg::CodecContextPtr video_;
  ffmpeg::CodecContextPtr audio_;
  AVStream* videoStream_ = nullptr;  // owned by format_
  AVStream* audioStream_ = nullptr;
  ffmpeg::FramePtr videoFrame_;
  ffmpeg::FramePtr audioFrame_;
  ffmpeg::PacketPtr packet_;
  ffmpeg::AudioFifoPtr fifo_;
  ffmpeg::ScalerPtr scaler_;
  std::int64_t audioNextPts_ = -1;  // pts of the first sample in the fifo
  std::int64_t fragmentStart_ = 0;  // 1/600 s
  bool headerWritten_ = false;
  bool failed_ = false;
  std::string videoEncoderName_;
};

}  // namespace tavorin

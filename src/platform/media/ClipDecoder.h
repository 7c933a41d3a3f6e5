#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "base/PcmBuffer.h"
#include "base/PixelBuffer.h"
#include "platform/media/ClipPictureConverter.h"
#include "platform/media/FFmpegPointers.h"

struct SwrContext;

namespace tavorin {

// A picture of a clip, upright premultiplied BGRA, and when it shows in the file.
struct ClipPicture {
  PixelBufferRef buffer;
  double pts = 0;
  // How long it shows: its own length in files of variable rate.
  double duration = 0;
};

// A stretch of a clip's sound in the mixer's format, and when its first sample plays in the file.
struct ClipSound {
  PcmBuffer block;
  double pts = 0;
};

// Reads a video file from any point on: its pictures and, when it has one,
// its first sound stream resampled to 48 kHz stereo float planes. Times are
// seconds from the video stream's start. Seeks are exact: the next picture is
// the one showing at the target and the sound begins there. One thread uses it.
class ClipDecoder {
 public:
  enum class Step { picture, sound, end };

  // Null, and `error` says why, when the file can't be read or has no pictures.
  static std::unique_ptr<ClipDecoder> open(const std::filesystem::path& file, std::string& error);
  ~ClipDecoder();
  ClipDecoder(const ClipDecoder&) = delete;
  ClipDecoder& operator=(const ClipDecoder&) = delete;

  // The file's length as its container says; 0 when it says nothing.
  double duration() const { return duration_; }
  bool hasSound() const { return audio_ != nullptr; }

  // False when the file can't seek there; reading goes on from where it was.
  bool seek(double seconds);
  // The next picture or sound in file order, or the end (also for a file cut short).
  Step next(ClipPicture& picture, ClipSound& sound);
  // Pictures decoded so far, the discarded ones of a seek included.
  std::uint64_t decodedPictures() const { return decodedPictures_; }

 private:
  ClipDecoder() = default;
  bool openVideo(std::string& error);
  void openAudio();
  std::optional<Step> receivePicture(ClipPicture& picture);
  std::optional<Step> receiveSound(ClipSound& sound);
  double secondsOf(std::int64_t timestamp, const AVStream& stream) const;

  ffmpeg::InputFormatPtr format_;
  int videoIndex_ = -1;
  int audioIndex_ = -1;
  ffmpeg::CodecContextPtr video_;
  ffmpeg::CodecContextPtr audio_;
  SwrContext* resampler_ = nullptr;
  ffmpeg::FramePtr frame_;
  ffmpeg::PacketPtr packet_;
  std::unique_ptr<ClipPictureConverter> converter_;
  double origin_ = 0;
  double duration_ = 0;
  double frameDuration_ = 1.0 / 30;
  // Pictures ending and samples lying before it are decoded and dropped: the exact seek.
  double discardBefore_ = -1;
  // Where the next resampled sample lies, once known after a seek.
  std::optional<double> soundClock_;
  bool flushed_ = false;
  bool videoEnded_ = false;
  bool audioEnded_ = false;
  std::uint64_t decodedPictures_ = 0;
};

}  // namespace tavorin

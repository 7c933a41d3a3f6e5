#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "platform/media/EncodedAudioSample.h"
#include "platform/media/EncodedVideoSample.h"
#include "platform/media/FFmpegPointers.h"

namespace tavorin {

// A fragmented QuickTime movie of encoded samples, written as they come: a
// video track at time scale 600 and, when asked, an AAC track at its own
// rate. A fragment closes at the first key frame 2 s after the last and goes
// to disk, so a crash loses at most the fragment being written. One thread uses it.
class MovieMuxer {
 public:
  static constexpr int kVideoTimeScale = 600;

  MovieMuxer() = default;
  ~MovieMuxer();
  MovieMuxer(const MovieMuxer&) = delete;
  MovieMuxer& operator=(const MovieMuxer&) = delete;

  // Replaces any file there. False with `error` set when it cannot be made.
  bool open(const std::filesystem::path& file, const VideoFormatDescription& video,
            const std::optional<AudioFormatDescription>& audio, std::string* error);
  // Times in seconds from the start of the movie; decode times must rise.
  bool writeVideo(const EncodedVideoSample& sample, double pts, double dts);
  bool writeAudio(const EncodedAudioSample& sample, double pts);
  // Writes the index and closes the file; false when anything failed on the way.
  bool close();

  bool hasAudio() const { return audioStream_ != nullptr; }

 private:
  bool write(AVStream* stream, const std::vector<std::uint8_t>& data, std::int64_t pts, std::int64_t dts, bool key);

  ffmpeg::OutputFormatPtr format_;
  ffmpeg::PacketPtr packet_;
  AVStream* videoStream_ = nullptr;  // owned by format_
  AVStream* audioStream_ = nullptr;
  std::int64_t lastVideoDts_ = -1;
  std::int64_t lastAudioPts_ = -1;
  std::int64_t fragmentStart_ = 0;  // 1/600 s
  bool headerWritten_ = false;
  bool failed_ = false;
};

}  // namespace tavorin

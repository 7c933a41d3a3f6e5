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
// to disk, so a crash loses at most the fragment being written. Each track
// holds back its newest sample until the next one gives its duration: a
// fragment's last sample with a guessed duration would move every later
// sample of its track. One thread uses it.
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

  bool hasAudio() const { return audio_.stream != nullptr; }

 private:
  struct Track {
    AVStream* stream = nullptr;  // owned by format_
    ffmpeg::PacketPtr held;      // the newest sample, its duration not yet known
    bool holding = false;
    std::int64_t lastDuration = 0;
  };

  bool write(Track& track, const std::vector<std::uint8_t>& data, std::int64_t pts, std::int64_t dts, bool key);
  // Writes the held sample, lasting until `nextDts`.
  bool release(Track& track, std::int64_t nextDts);
  bool cutFragment();

  ffmpeg::OutputFormatPtr format_;
  Track video_;
  Track audio_;
  std::int64_t lastVideoDts_ = -1;
  std::int64_t lastAudioPts_ = -1;
  std::int64_t fragmentStart_ = 0;  // 1/600 s
  bool headerWritten_ = false;
  bool moovWritten_ = false;
  bool failed_ = false;
};

}  // namespace tavorin

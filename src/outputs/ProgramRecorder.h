#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/AudioBlock.h"
#include "base/EnumNames.h"
#include "base/PixelBuffer.h"

namespace tavorin {

class MovieEncoder;

// Writes Program to one QuickTime movie: composed frames from the frame clock
// and the Program mix from the mixer's tap, put on one timeline by host time.
// The appends only stamp and queue (by reference for frames); a thread of the
// recording's own encodes and writes, and drops rather than waits, so a slow
// disk costs frames, never the clock. Fragments every 2 s keep all but the
// last one readable after a crash.
class ProgramRecorder {
 public:
  enum class Quality { hevcHigh, proRes422 };
  using Completion = std::function<void(std::optional<std::filesystem::path> file)>;

  ProgramRecorder();
  ~ProgramRecorder();
  ProgramRecorder(const ProgramRecorder&) = delete;
  ProgramRecorder& operator=(const ProgramRecorder&) = delete;

  // Replaces any file at `file`. False with `error` set when the movie cannot
  // be made; nothing at all while already recording.
  bool start(const std::filesystem::path& file, int frameRate, int width, int height, Quality quality,
             bool withAudio, std::string* error);
  // Frame clock thread: BGRA frames of the size given to start.
  void appendVideo(const FrameRef& frame);
  // Tap thread: a stereo block (a mono one plays on both sides), copied.
  void appendAudio(const AudioBlockRef& block);
  void setPaused(bool on);
  // Ends the movie; `completion` gets the file, or nothing on failure or when
  // nothing was recording. Runs on the recording's thread once the file is closed.
  void finish(Completion completion);

  // The encoder the last start chose ("libx264", "hevc_nvenc", "prores_ks", …).
  std::string videoEncoderName() const;

 private:
  struct Item {
    FrameRef frame;                     // video, or null for audio
    std::vector<float> left, right;     // audio
    std::int64_t pts = 0;               // 1/600 s for video, 1/48000 s for audio
  };

  void run(std::shared_ptr<MovieEncoder> encoder);

  mutable std::mutex lock_;
  std::condition_variable wake_;
  std::deque<Item> queue_;
  std::size_t queuedFrames_ = 0;
  std::thread worker_;
  bool isRecording_ = false;
  bool finishing_ = false;
  Completion completion_;
  bool sessionStarted_ = false;
  double sessionStart_ = 0;  // seconds, pause-corrected host time of the first frame
  bool isPaused_ = false;
  double pausedTotal_ = 0;
  std::optional<double> pauseBegan_;
  double frameInterval_ = 1.0 / 30;
  double lastVideoTime_ = -1;
  std::int64_t lastVideoPts_ = -1;
  bool withAudio_ = false;
  std::string videoEncoderName_;
  std::filesystem::path file_;
};

template <>
struct EnumNames<ProgramRecorder::Quality> {
  static constexpr std::pair<ProgramRecorder::Quality, std::string_view> table[] = {
      {ProgramRecorder::Quality::hevcHigh, "hevcHigh"}, {ProgramRecorder::Quality::proRes422, "proRes422"}};
};

}  // namespace tavorin

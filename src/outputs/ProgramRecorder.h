#pragma once

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <variant>

#include "base/EnumNames.h"
#include "platform/media/EncodedAudioSample.h"
#include "platform/media/EncodedVideoSample.h"
#include "platform/media/SharedEncoders.h"
#include "platform/media/VideoEncoding.h"

namespace tavorin {

// Writes Program to one QuickTime movie. It encodes nothing itself: it takes
// the samples of the shared encoder for its encoding of the main canvas (one
// that a stream at the same encoding also receives) and of the shared AAC
// encoder, and puts them on the movie's timeline by host time. Samples only
// queue on the encoders' threads; a thread of the recording's own writes, so
// a slow disk never holds up an encoder. Fragments every 2 s keep all but the
// last one readable after a crash.
class ProgramRecorder {
 public:
  enum class Quality { hevcHigh, proRes422 };
  using Completion = std::function<void(std::optional<std::filesystem::path> file)>;

  // The canvas the recorder's frames come from, as the encoders know it.
  static constexpr std::string_view kCanvas = "main";
  static constexpr int kAudioSampleRate = 48000;
  static constexpr std::int64_t kAudioBitRate = 256'000;

  explicit ProgramRecorder(SharedEncoders& encoders);
  ~ProgramRecorder();
  ProgramRecorder(const ProgramRecorder&) = delete;
  ProgramRecorder& operator=(const ProgramRecorder&) = delete;

  // What a quality asks of the encoder at this canvas size and frame rate.
  static VideoEncoding encodingFor(Quality quality, int width, int height, int frameRate);

  // Replaces any file at `file`. False with `error` set when no encoder opens
  // or the file cannot be made; nothing at all while already recording.
  bool start(const std::filesystem::path& file, int frameRate, int width, int height, Quality quality,
             bool withAudio, std::string* error);
  bool start(const std::filesystem::path& file, const VideoEncoding& encoding, bool withAudio, std::string* error);
  void setPaused(bool on);
  // Ends the movie; `completion` gets the file, or nothing on failure or when
  // nothing was recording. Runs on the recording's thread once the file is closed.
  void finish(Completion completion);

  // The encoder the last start got ("libx264", "hevc_nvenc", "prores_ks", …).
  std::string videoEncoderName() const;
  // Frames the last recording lost so far: its encoder fell behind, or the disk did.
  int droppedFrames() const;

 private:
  struct Item {
    std::variant<EncodedVideoSampleRef, EncodedAudioSampleRef> sample;
    double pts = 0;  // seconds from the start of the movie
    double dts = 0;
  };

  void received(const EncodedVideoSampleRef& sample);
  void received(const EncodedAudioSampleRef& sample);
  void run();

  SharedEncoders& encoders_;
  // Guards the two subscriptions against a reader of the drop count; never
  // held together with lock_, which the encoders' threads take.
  mutable std::mutex subscriptionLock_;
  SharedEncoders::Subscription video_;
  SharedEncoders::Subscription audio_;
  int encoderDrops_ = 0;  // of the last recording's encoder, once it has left it
  std::function<void()> requestKeyFrame_;  // under lock_

  mutable std::mutex lock_;
  std::condition_variable wake_;
  std::deque<Item> queue_;
  std::vector<EncodedAudioSampleRef> earlyAudio_;
  std::thread worker_;
  bool isRecording_ = false;
  bool finishing_ = false;
  bool closing_ = false;  // the encoders have given their last samples
  Completion completion_;
  std::optional<double> origin_;  // host seconds of the movie's first decode time
  bool isPaused_ = false;
  bool awaitingKeyFrame_ = false;
  int diskDrops_ = 0;  // frames the queue for the disk had no room for
  double pausedTotal_ = 0;
  std::optional<double> pauseBegan_;
  bool withAudio_ = false;
  std::string videoEncoderName_;
  std::filesystem::path file_;
};

// Stored under these raw values, which are also the names the operator picks from.
template <>
struct EnumNames<ProgramRecorder::Quality> {
  static constexpr std::pair<ProgramRecorder::Quality, std::string_view> table[] = {
      {ProgramRecorder::Quality::hevcHigh, "High (HEVC)"}, {ProgramRecorder::Quality::proRes422, "ProRes 422 (editing)"}};
};

}  // namespace tavorin

#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "base/AudioBlock.h"
#include "base/SerialQueue.h"
#include "platform/media/EncodedVideoSample.h"
#include "platform/media/SharedEncoders.h"
#include "platform/media/VideoEncoding.h"

namespace tavorin {

// The last moments of Program, kept in memory so the operator can save them
// after they happened. The picture is held as it comes out of a shared H.264
// encoder (no B-frames, a key frame every 2 s by time), the sound as the
// Program mix's own PCM. A save writes the picture as it was encoded and
// encodes only the sound.
class ReplayBuffer {
 public:
  static constexpr std::string_view kCanvas = "main";
  static constexpr std::int64_t kBitRate = 12'000'000;
  static constexpr double kKeyFrameInterval = 2;
  static constexpr double kMaxFrameRate = 30;
  // Sound is kept this much longer than the picture asks.
  static constexpr double kAudioMargin = 1;

  struct Saved {
    std::filesystem::path file;
    double seconds = 0;  // from the first picture to the end of the last
  };
  // Called on the save's own thread.
  using Completion = std::function<void(std::optional<Saved>)>;
  using LogHandler = std::function<void(const std::string&)>;

  // In the background, the encoder runs at a lower priority than the rest of
  // the show (tests that count pictures on a busy machine turn it off).
  ReplayBuffer(SharedEncoders& encoders, LogHandler log, bool background = true);
  // Waits for a save under way.
  ~ReplayBuffer();
  ReplayBuffer(const ReplayBuffer&) = delete;
  ReplayBuffer& operator=(const ReplayBuffer&) = delete;

  // What the buffer asks of its encoder at this canvas size and Program rate.
  static VideoEncoding encodingFor(int width, int height, double frameRate);

  // Any thread. Takes effect on the buffer's own thread, behind what was asked
  // before: off drops the encoder and all that is held; another encoding
  // (a new canvas size or rate) starts again empty; the same keeps what is held.
  // A shorter duration trims at the next picture.
  void apply(bool enabled, double seconds, int width, int height, double frameRate);
  // Returns once every apply asked so far has taken effect.
  void settle() { control_.drain(); }

  // Encoder thread: one encoded picture. Held until the duration has passed,
  // back to the newest key frame at or before that.
  void appendVideo(const EncodedVideoSampleRef& sample);
  // Audio tap: one block of the Program mix, copied (the tap's blocks go back to its pool).
  void appendAudio(const AudioBlockRef& block);
  // The same as a sink that stays safe after the buffer is gone.
  std::function<void(const AudioBlockRef&)> audioSink() const;

  // Writes what is held to `file` (a QuickTime movie; any file there is
  // replaced). Nothing, at once, when off, empty, or while another save runs.
  void save(const std::filesystem::path& file, Completion completion);

  bool enabled() const;
  bool saving() const;
  // Seconds from the first held picture to the newest, and what is held in bytes.
  double heldSeconds() const;
  std::size_t heldBytes() const;
  // Whether an encoder runs; false after it could not open.
  bool encoding() const;

 private:
  // What the encoder thread and the tap reach, kept by their closures so a
  // call arriving while the buffer goes finds it still there.
  struct Ring {
    mutable std::mutex lock;
    bool enabled = false;
    bool running = false;  // an encoder is subscribed
    bool saving = false;
    double duration = 60;
    std::deque<EncodedVideoSampleRef> video;
    std::deque<std::shared_ptr<AudioBlock>> audio;  // copies, stamped with their host time
    std::size_t videoBytes = 0;
    // Blocks trimmed off the front, reused for the next copies.
    std::vector<std::shared_ptr<AudioBlock>> spare;

    void clear();
    void appendVideo(const EncodedVideoSampleRef& sample);
    void appendAudio(const AudioBlockRef& block);
  };

  void configure(bool enabled, VideoEncoding encoding);

  SharedEncoders& encoders_;
  LogHandler log_;
  const bool background_;
  std::shared_ptr<Ring> ring_ = std::make_shared<Ring>();
  // The buffer's own thread's: the encoder it receives from.
  SharedEncoders::Subscription subscription_;
  std::optional<VideoEncoding> subscribed_;
  std::optional<VideoEncoding> failed_;  // said once until another encoding is asked for
  bool lowered_ = false;  // the buffer's thread runs in the background
  // Last, so their threads end before what they use goes.
  SerialQueue control_{"Tavorin.Replay"};
  SerialQueue mux_{"Tavorin.ReplayMux"};
};

}  // namespace tavorin

#pragma once

#include <atomic>
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
#include <vector>

#include "base/HostTime.h"
#include "base/MainQueue.h"
#include "base/PcmBuffer.h"
#include "platform/media/ClipDecoder.h"
#include "sources/BaseSource.h"

namespace tavorin {

// A video file played for ever, or a trimmed range of it. A decode thread
// ("Tavorin.ClipDec") keeps a few pictures ahead of the playback clock; the
// pump ("Tavorin.LoopSrc", every 1/30 s) publishes the newest picture due on
// that clock and hands the sound that came due to the sound sink, both
// stamped with host time. At the end of the file or the out point the clock
// goes back to the in point. Control calls belong to the main thread.
class LoopingVideoSource : public BaseSource {
 public:
  // Pump thread: a block of the clip's sound in the mixer's format and the host time of its first sample.
  using SoundSink = std::function<void(PcmBuffer& block, double hostTime)>;
  using TrimChanged = std::function<void(double trimStart, std::optional<double> trimEnd)>;

  struct Options {
    // The host clock; tests drive their own.
    std::function<double()> hostClock = hostTimeNow;
    // Off: nothing pumps unless pump() is called (tests).
    bool pumpTimer = true;
  };

  static std::string idFor(const std::filesystem::path& file) { return "clip:" + file.string(); }

  LoopingVideoSource(std::filesystem::path file, MainQueue& queue, Options options);
  LoopingVideoSource(std::filesystem::path file, MainQueue& queue) : LoopingVideoSource(std::move(file), queue, {}) {}
  ~LoopingVideoSource() override;

  const std::filesystem::path& fileURL() const { return fileURL_; }

  void start(StartDone done) override;
  void stop() override;
  // A parked clip keeps its playhead and decodes nothing.
  void park() override;
  void resume() override;
  void replayFromStart() override { seek(trimStart_); }

  void play();
  void pause();
  bool isPlaying() const;
  // Moves the playhead to the picture showing at `seconds`; at or past the out point that is the in point.
  void seek(double seconds);
  // The playhead's time in the file now.
  double currentTime() const;

  // In at max(start, 0); out absent, or at least 0.1 s after the in point.
  void setTrim(double start, std::optional<double> end);
  double trimStart() const { return trimStart_; }
  std::optional<double> trimEnd() const { return trimEnd_; }
  TrimChanged onTrimChanged;

  // Main thread, called once the file is open when it has sound.
  std::function<void()> onSoundFound;
  bool hasSound() const { return hasSound_; }
  // Main thread: the file's length in seconds once it is open; 0 before.
  double duration() const { return duration_; }
  // Any thread; the sink is called on the pump's thread.
  void setSoundSink(SoundSink sink);

  // Why the file gives no pictures; empty while it plays.
  std::string lastError() const;

  // One tick of the pump: what the timer runs; tests call it themselves.
  // Returns the host time the next queued picture is due at; infinity when none is queued or the clip is paused.
  double pump();
  // For tests and benchmarks: the decode thread has all it needs for now.
  bool decoderIdle() const;
  std::uint64_t decodedPictures() const { return decodedPictures_.load(); }

 private:
  struct QueuedPicture {
    std::uint64_t lap = 0;
    ClipPicture picture;
  };
  struct QueuedSound {
    std::uint64_t lap = 0;
    ClipSound sound;
  };
  struct DueSound {
    ClipSound sound;
    double hostTime = 0;
  };

  void decodeLoop();
  // Under lock_: the decode thread should decode more.
  bool needsMore() const;
  // Under lock_: the decode thread has something to do.
  bool decoderHasWork() const;
  // Under lock_: the clock's item time at host time `now`, not yet wrapped.
  double itemTimeAt(double now) const;
  // Under lock_: every queue emptied and the clock and the decoder sent to `seconds`.
  void restartAt(double seconds, double now);
  // Under lock_: itemTimeAt, wrapped into the next lap when the clock has passed its end.
  double currentTimeAt(double now) const;
  void startPump();
  void stopPump();
  void pumpLoop();

  const std::filesystem::path fileURL_;
  MainQueue& queue_;
  const Options options_;
  double duration_ = 0;
  double trimStart_ = 0;
  std::optional<double> trimEnd_;
  bool hasSound_ = false;
  bool wasPlaying_ = true;
  std::shared_ptr<LoopingVideoSource*> self_ = std::make_shared<LoopingVideoSource*>(this);

  mutable std::mutex lock_;
  std::condition_variable wake_;
  // The playback clock: item time anchorItem_ at host time anchorHost_, moving at rate_ (0 or 1).
  double anchorItem_ = 0;
  double anchorHost_ = 0;
  double rate_ = 0;
  std::uint64_t lap_ = 0;
  // Raised by every seek; the decoder starts over when it sees a new one.
  std::uint64_t generation_ = 0;
  double seekTarget_ = 0;
  // Copies of the trim for the decode thread.
  double sharedTrimStart_ = 0;
  std::optional<double> sharedTrimEnd_;
  // Where each lap the decoder finished ended and where the next one begins, oldest first.
  struct LapEnd {
    std::uint64_t lap = 0;
    double end = 0;
    double nextStart = 0;
  };
  std::deque<LapEnd> lapEnds_;
  bool decoderHasSound_ = false;
  std::deque<QueuedPicture> pictures_;
  std::deque<QueuedSound> sounds_;
  bool parked_ = true;
  bool closing_ = false;
  // The decode thread waits for work; with its generation, whether it could open the file, and a lap that showed nothing.
  bool idle_ = false;
  std::uint64_t decoderGeneration_ = 0;
  bool decoderOpen_ = false;
  bool stalled_ = false;
  std::string error_;
  std::atomic<std::uint64_t> decodedPictures_{0};
  std::atomic<std::shared_ptr<const SoundSink>> soundSink_;

  // Pump thread only.
  std::vector<DueSound> due_;
  std::mutex pumpLock_;
  std::condition_variable pumpWake_;
  bool pumping_ = false;
  std::thread pumpThread_;
  std::thread decodeThread_;
};

}  // namespace tavorin

#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "base/PcmBuffer.h"
#include "base/PixelBuffer.h"
#include "model/StreamDestination.h"
#include "streaming/StreamFeed.h"
#include "streaming/StreamState.h"
#include "streaming/rtmp/RTMPConnection.h"
#include "streaming/rtmp/RTMPStream.h"

namespace tavorin {

// Seconds per unit of a session's waits: the connection check (3 units) and
// the back-off. Tests shrink it; the show runs at 1.
struct StreamSessionTiming {
  double unit = 1.0;
};

// One destination on air: its own connection, stream, encoders, feed and
// retry loop. Sessions know nothing of each other. The loop and the pump
// run on threads of the session's own; media arrives from the frame path and
// the audio tap, which only wrap and queue.
class StreamSession {
 public:
  using StateHandler = std::function<void(const Uuid& id, const StreamState& state)>;

  using Timing = StreamSessionTiming;

  // `destination` already has its platform's limits applied.
  StreamSession(StreamDestination destination, std::string key, int canvasWidth, int canvasHeight,
                StateHandler onState, Timing timing = Timing());
  ~StreamSession();
  StreamSession(const StreamSession&) = delete;
  StreamSession& operator=(const StreamSession&) = delete;

  void start();
  // Cancels the loop and the pump at once without waiting for them; the feed
  // takes nothing more and no state is reported after it.
  void stop();
  // After stop: waits for the threads, then closes the stream and the
  // connection, ignoring errors. Blocks for at most a few seconds.
  void finish();

  // The frame path: drops frames that come sooner than the destination's
  // rate wants, then queues the frame by reference.
  void feed(PixelBufferRef frame, double time);
  void feedAudio(const PcmBuffer& buffer, double when);

  StreamCanvas canvas() const { return canvas_; }
  std::uint64_t byteCount() const { return stream_->info().byteCount; }
  std::uint16_t currentFPS() const { return stream_->currentFPS(); }
  int videoDropCount() const { return videoDropCount_; }
  // The URL attempt `attempt` connects to.
  std::string urlForAttempt(int attempt) const;

  // The health sampler's memory of the byte count; main thread only.
  std::uint64_t lastByteCount = 0;

 private:
  // What waits on the loop's thread: cancellation and the answers of the
  // connection, which may come after the session is gone.
  struct Signal {
    std::mutex lock;
    std::condition_variable changed;
    bool cancelled = false;
  };
  struct Attempt {
    bool cancelled = false;
    std::optional<std::string> error;  // nothing when the attempt went live
  };

  void runLoop();
  void pump();
  Attempt connect(int attempt);
  // Waits `seconds`; true when cancelled meanwhile.
  bool sleepCancelled(double seconds);
  bool isCancelled() const;
  void report(const StreamState& state);
  // Closes the stream, waiting at most `seconds` for the server's answer, then the connection.
  void closeQuietly(double seconds);

  // Starts an asynchronous call and waits for its answer or, when
  // `cancellable`, for cancellation; nothing when cancelled or out of time.
  template <class Result, class Start>
  std::optional<Result> await(Start&& start, bool cancellable, double seconds);

  const StreamDestination destination_;
  const std::string key_;
  const StreamCanvas canvas_;
  const Timing timing_;
  int videoWidth_ = 0;
  int videoHeight_ = 0;
  double minFrameInterval_ = 0;
  StateHandler onState_;

  RTMPConnection connection_;
  std::shared_ptr<RTMPStream> stream_;
  StreamFeed feed_;

  std::atomic<bool> isPublishing_{false};
  double lastVideoTime_ = -1e300;  // frame path only
  // Frames lost because the session fell behind: in its feed or at a full encoder.
  std::atomic<int> videoDropCount_{0};

  std::shared_ptr<Signal> signal_ = std::make_shared<Signal>();
  std::thread loop_;
  std::thread pump_;
};

}  // namespace tavorin

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

#include "model/StreamDestination.h"
#include "platform/media/SharedEncoders.h"
#include "streaming/AudioCodecSettings.h"
#include "streaming/StreamState.h"
#include "streaming/VideoCodecSettings.h"
#include "streaming/rtmp/RTMPConnection.h"
#include "streaming/rtmp/RTMPStream.h"

namespace tavorin {

// Seconds per unit of a session's waits: the connection check (3 units) and
// the back-off. Tests shrink it; the show runs at 1.
struct StreamSessionTiming {
  double unit = 1.0;
};

// One destination on air: its own connection, stream and retry loop, and
// while it publishes, a place among the receivers of the shared encoders for
// its settings. Sessions know nothing of each other. The loop runs on a
// thread of the session's own; samples reach the stream by reference from
// the encoders' threads.
class StreamSession {
 public:
  using StateHandler = std::function<void(const Uuid& id, const StreamState& state)>;

  using Timing = StreamSessionTiming;

  // `destination` already has its platform's limits applied; `encoders` outlives the session.
  StreamSession(SharedEncoders& encoders, StreamDestination destination, std::string key, int canvasWidth,
                int canvasHeight, StateHandler onState, Timing timing = Timing());
  ~StreamSession();
  StreamSession(const StreamSession&) = delete;
  StreamSession& operator=(const StreamSession&) = delete;

  // What a destination asks of the encoders, for a main canvas of this size.
  static VideoCodecSettings videoSettingsFor(const StreamDestination& destination, int canvasWidth, int canvasHeight);
  static AudioCodecSettings audioSettingsFor(const StreamDestination& destination);

  void start();
  // Cancels the loop at once without waiting for it; no state is reported after it.
  void stop();
  // After stop: waits for the loop, leaves the encoders, then closes the
  // stream and the connection, ignoring errors. Blocks for at most a few seconds.
  void finish();

  StreamCanvas canvas() const { return canvas_; }
  // What the session asks of the shared encoders.
  const VideoCodecSettings& videoSettings() const { return videoSettings_; }
  const AudioCodecSettings& audioSettings() const { return audioSettings_; }
  // Bytes that reached the network, not those queued for it.
  std::uint64_t byteCount() const { return connection_.totalBytesOut(); }
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
  Attempt connect(int attempt);
  // Joins the encoders once the stream publishes; the reason when no video encoder opens.
  std::optional<std::string> joinEncoders();
  void leaveEncoders();
  void countDrops();
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

  SharedEncoders& encoders_;
  const StreamDestination destination_;
  const std::string key_;
  const StreamCanvas canvas_;
  const Timing timing_;
  VideoCodecSettings videoSettings_;
  AudioCodecSettings audioSettings_;
  StateHandler onState_;

  RTMPConnection connection_;
  std::shared_ptr<RTMPStream> stream_;

  std::atomic<bool> isPublishing_{false};
  // The loop's thread's, and finish()'s once the loop is over.
  SharedEncoders::Subscription video_;
  SharedEncoders::Subscription audio_;
  // Frames lost on the way: at the shared encoder while this session received
  // from it, and samples the stream could not send.
  int dropsOfEarlierJoins_ = 0;
  std::atomic<int> videoDropCount_{0};

  std::shared_ptr<Signal> signal_ = std::make_shared<Signal>();
  std::thread loop_;
};

}  // namespace tavorin

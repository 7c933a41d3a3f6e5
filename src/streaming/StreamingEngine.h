#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/MainQueue.h"
#include "base/Published.h"
#include "base/Uuid.h"
#include "model/StreamDestination.h"
#include "platform/media/SharedEncoders.h"
#include "streaming/StreamHealth.h"
#include "streaming/StreamSession.h"
#include "streaming/StreamState.h"

namespace tavorin {

// Runs the live streams: one session per destination on air, one state per
// destination, and every two seconds one health record per live one. The
// main thread owns the states and the sessions. The media never pass through
// here: sessions receive from the shared encoders, which the frame path and
// the audio tap feed once for every output, so destinations that ask for the
// same encoding share one encoder.
class StreamingEngine {
 public:
  using KeyLookup = std::function<std::optional<std::string>(const Uuid&)>;

  static constexpr double kHealthPeriod = 2.0;

  // `encoders` outlives the engine.
  StreamingEngine(MainQueue& queue, KeyLookup keys, SharedEncoders& encoders);
  // Stops every session and waits (a few seconds at most) for their streams to close.
  ~StreamingEngine();
  StreamingEngine(const StreamingEngine&) = delete;
  StreamingEngine& operator=(const StreamingEngine&) = delete;

  Published<std::map<Uuid, StreamState>> states;
  StreamHealthModel health;
  // The main canvas in pixels.
  std::function<std::pair<int, int>()> canvasSizeProvider = [] { return std::pair{1920, 1080}; };
  // Waits of every session started from now on; tests shrink them.
  StreamSession::Timing timing;

  // Goes live with the key from the key store.
  void start(const StreamDestination& destination);
  // Goes live with a key given here (a destination named on the command line).
  void start(const StreamDestination& destination, const std::string& key);
  // Stops and forgets the session; the caller sets the state.
  void stop(const Uuid& id);
  // The operator's toggle: stops an active destination and marks it idle, starts any other.
  void toggle(const StreamDestination& destination);
  // A destination deleted by the operator: stopped, and its state gone with it.
  void forget(const Uuid& id);
  void stopAll();
  // Waits until every stopped session has closed its stream, or until
  // `deadline` at most; how many were still closing then.
  int waitUntilClosed(std::chrono::steady_clock::time_point deadline);

  std::vector<Uuid> liveDestinations() const;
  bool isAnyActive() const;
  // The wall-clock second the first of the live destinations went live.
  std::optional<double> earliestLiveSince() const;
  bool hasSession(const Uuid& id) const { return sessions_.count(id) > 0; }

 private:
  using SessionList = std::vector<std::shared_ptr<StreamSession>>;

  void startSession(const StreamDestination& destination, const std::string& key);
  void stateReported(const Uuid& id, const std::shared_ptr<StreamSession>& session, const StreamState& state);
  void remove(const Uuid& id);
  void sampleHealth();
  void reapClosers(bool all);

  MainQueue& queue_;
  KeyLookup keys_;
  SharedEncoders& encoders_;
  std::map<Uuid, std::shared_ptr<StreamSession>> sessions_;
  TimerHandle healthTask_;
  // Stopped sessions closing their streams off the main thread.
  struct Closer {
    std::thread thread;
    std::shared_ptr<std::atomic<bool>> done;
  };
  std::vector<Closer> closers_;
  // Told each time a closer is done.
  struct CloseSignal {
    std::mutex lock;
    std::condition_variable changed;
  };
  std::shared_ptr<CloseSignal> closed_ = std::make_shared<CloseSignal>();
  std::shared_ptr<StreamingEngine*> self_ = std::make_shared<StreamingEngine*>(this);
};

}  // namespace tavorin

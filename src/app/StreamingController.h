#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "base/Published.h"
#include "base/Uuid.h"
#include "model/Geometry.h"
#include "streaming/StreamState.h"

namespace tavorin {

class StreamDestinationStore;
class StreamingEngine;

// Going live: the stream sinks of Program, the operator's toggles, and what
// the operator reads as destinations go on air, drop and give up. Main thread only.
class StreamingController {
 public:
  StreamingController(StreamingEngine& engine, StreamDestinationStore& destinations,
                      std::function<Size()> canvasPixels, std::function<void(std::string)> log);
  StreamingController(const StreamingController&) = delete;
  StreamingController& operator=(const StreamingController&) = delete;

  // Gives the engine the canvas size and follows the streams' states.
  void start();
  // The operator's toggle of a saved destination.
  void toggle(const Uuid& id);
  // Goes live to a URL whose last path segment is the key (the command line's --stream).
  void goLive(const std::string& urlWithKey);
  void remove(const Uuid& id);
  // What the operator calls a destination: its saved name, or where a command line's stream goes.
  std::string nameOf(const Uuid& id) const;

 private:
  void logStates(const std::map<Uuid, StreamState>& states);

  StreamingEngine& engine_;
  StreamDestinationStore& destinations_;
  std::function<Size()> canvasPixels_;
  std::function<void(std::string)> log_;
  // What the log last said of each stream, and the names of the command line's streams.
  std::map<Uuid, StreamState> loggedStates_;
  std::map<Uuid, std::string> urlStreamNames_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tavorin

#include "app/StreamingController.h"

#include "stores/StreamDestinationStore.h"
#include "streaming/StreamURL.h"
#include "streaming/StreamingEngine.h"

namespace tavorin {

StreamingController::StreamingController(StreamingEngine& engine, StreamDestinationStore& destinations,
                                         std::function<Size()> canvasPixels,
                                         std::function<void(std::string)> log)
    : engine_(engine),
      destinations_(destinations),
      canvasPixels_(std::move(canvasPixels)),
      log_(std::move(log)) {}

void StreamingController::start() {
  if (!subscriptions_.empty()) return;
  engine_.canvasSizeProvider = [this] {
    const Size pixels = canvasPixels_();
    return std::pair{static_cast<int>(pixels.width), static_cast<int>(pixels.height)};
  };
  subscriptions_.push_back(
      engine_.states.subscribe([this](const std::map<Uuid, StreamState>& states) { logStates(states); }));
}

void StreamingController::logStates(const std::map<Uuid, StreamState>& states) {
  for (const auto& [id, state] : states) {
    const auto previous = loggedStates_.find(id);
    if (previous != loggedStates_.end() && previous->second == state) continue;
    const bool wasActive = previous != loggedStates_.end() && previous->second.isActive();
    const std::string name = nameOf(id);
    switch (state.kind) {
      case StreamState::Kind::connecting:
        log_("Going live to " + name + "…");
        break;
      case StreamState::Kind::live:
        log_(name + " is live");
        break;
      case StreamState::Kind::reconnecting:
        log_(name + ": " + state.label() + (state.message.empty() ? "" : " — " + state.message));
        break;
      case StreamState::Kind::error:
        log_(name + ": " + state.message);
        break;
      case StreamState::Kind::idle:
        if (wasActive) log_(name + " stopped");
        break;
    }
  }
  loggedStates_ = states;
}

std::string StreamingController::nameOf(const Uuid& id) const {
  for (const auto& destination : destinations_.destinations.get()) {
    if (destination.id == id) return destination.name;
  }
  const auto named = urlStreamNames_.find(id);
  return named == urlStreamNames_.end() ? std::string() : named->second;
}

void StreamingController::toggle(const Uuid& id) {
  for (const auto& destination : destinations_.destinations.get()) {
    if (destination.id == id) return engine_.toggle(destination);
  }
}

void StreamingController::goLive(const std::string& urlWithKey) {
  const auto parts = splitStreamURL(urlWithKey);
  if (!parts) {
    log_("Could not go live: “" + urlWithKey + "” needs rtmp(s)://host[:port]/app/key");
    return;
  }
  StreamDestination destination;
  destination.platform = StreamPlatform::custom;
  destination.serverURL = parts->first;
  // The key is a secret: the name shows only where the stream goes.
  destination.name = "Stream " + std::to_string(urlStreamNames_.size() + 1) + " (" + parts->first + ")";
  // 720p keeps several encoders within reach of a small machine.
  destination.quality = {StreamResolution::p720, 30, 4500, 160};
  urlStreamNames_[destination.id] = destination.name;
  engine_.start(destination, parts->second);
}

void StreamingController::remove(const Uuid& id) {
  engine_.forget(id);
  destinations_.remove(id);
}

}  // namespace tavorin

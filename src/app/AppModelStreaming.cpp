// Going live: the stream sinks of Program, the operator's toggles, and what
// the operator reads as destinations go on air, drop and give up.
#include "app/AppModel.h"

#include "streaming/StreamURL.h"

namespace tavorin {

void AppModel::bindStreaming() {
  streaming.canvasSizeProvider = [this] {
    const Size pixels = pixelSize(canvasSize.get());
    return std::pair{static_cast<int>(pixels.width), static_cast<int>(pixels.height)};
  };
  // The sessions gate the feed themselves: nothing is queued while none is on air.
  audioMixer.setStreamAudioSink(streaming.audioSink());
  subscriptions_.push_back(
      streaming.states.subscribe([this](const std::map<Uuid, StreamState>& states) { logStreamStates(states); }));
}

void AppModel::logStreamStates(const std::map<Uuid, StreamState>& states) {
  for (const auto& [id, state] : states) {
    const auto previous = loggedStreamStates_.find(id);
    if (previous != loggedStreamStates_.end() && previous->second == state) continue;
    const bool wasActive = previous != loggedStreamStates_.end() && previous->second.isActive();
    std::string name = streamNames_.count(id) ? streamNames_[id] : std::string();
    for (const auto& destination : streamStore.destinations.get()) {
      if (destination.id == id) name = destination.name;
    }
    switch (state.kind) {
      case StreamState::Kind::connecting:
        appendLog("Going live to " + name + "…");
        break;
      case StreamState::Kind::live:
        appendLog(name + " is live");
        break;
      case StreamState::Kind::reconnecting:
        appendLog(name + ": " + state.label());
        break;
      case StreamState::Kind::error:
        appendLog(name + ": " + state.message);
        break;
      case StreamState::Kind::idle:
        if (wasActive) appendLog(name + " stopped");
        break;
    }
  }
  loggedStreamStates_ = states;
}

void AppModel::toggleStream(const Uuid& id) {
  for (const auto& destination : streamStore.destinations.get()) {
    if (destination.id == id) return streaming.toggle(destination);
  }
}

void AppModel::goLive(const std::string& urlWithKey) {
  const auto parts = splitStreamURL(urlWithKey);
  if (!parts) {
    appendLog("Could not go live: “" + urlWithKey + "” needs rtmp(s)://host[:port]/app/key");
    return;
  }
  StreamDestination destination;
  destination.platform = StreamPlatform::custom;
  destination.serverURL = parts->first;
  // The key is a secret: the name shows only where the stream goes.
  destination.name = "Stream " + std::to_string(streamNames_.size() + 1) + " (" + parts->first + ")";
  // 720p keeps several encoders within reach of a small machine.
  destination.quality = {StreamResolution::p720, 30, 4500, 160};
  streamNames_[destination.id] = destination.name;
  streaming.start(destination, parts->second);
}

void AppModel::removeStreamDestination(const Uuid& id) {
  streaming.forget(id);
  streamStore.remove(id);
}

}  // namespace tavorin

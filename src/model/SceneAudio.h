#pragma once

#include <map>
#include <string>

namespace tavorin {

struct ChannelSetting {
  float gain = 1;
  bool muted = false;
  friend bool operator==(const ChannelSetting&, const ChannelSetting&) = default;
};

// The fader snapshot a scene carries; stored with the scene, not applied by a take.
struct SceneAudio {
  std::map<std::string, ChannelSetting> channels;
  friend bool operator==(const SceneAudio&, const SceneAudio&) = default;
};

}  // namespace tavorin

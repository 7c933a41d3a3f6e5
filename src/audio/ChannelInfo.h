#pragma once

#include <optional>
#include <string>

namespace tavorin {

// One mixer channel as the operator sees it.
struct ChannelInfo {
  std::string id;
  std::string name;
  float level = 1.0f;  // fader, linear 0 to 2
  bool air = true;     // goes to Program
  bool cue = false;    // soloed on the monitor buses
  bool monitor = true; // goes to the monitor buses
  bool afv = false;    // air follows whether the channel's video source is on Program
  std::optional<std::string> videoSourceID{};  // the video source afv follows; none for plain inputs
  bool removable = true;
  std::string icon;
  friend bool operator==(const ChannelInfo&, const ChannelInfo&) = default;
};

}  // namespace tavorin

#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/pipewire/AudioNodeInfo.h"

namespace tavorin {

// An application's playback stream (media.class Stream/Output/Audio).
struct AudioStreamInfo {
  std::uint32_t id = 0;
  std::string nodeName;
  // The Linux app id: the sandbox's app id, else application.id, else the
  // executable's name, else application.name. Screen capture names apps the same way.
  std::string appID;
  std::string appName;         // application.name, else appID
  std::int64_t processID = 0;  // application.process.id; 0 when unknown

  friend bool operator==(const AudioStreamInfo&, const AudioStreamInfo&) = default;
};

// One channel's port on a device or stream node.
struct AudioPortInfo {
  std::uint32_t id = 0;
  std::uint32_t nodeID = 0;
  std::uint32_t index = 0;  // port.id: its place among the node's ports of its direction
  bool output = false;
  bool monitor = false;  // a sink's monitor (or a virtual source's own output)
  std::string channel;   // audio.channel: "FL", "FR", "MONO", "AUX0"…

  friend bool operator==(const AudioPortInfo&, const AudioPortInfo&) = default;
};

// What a registry knows of the audio graph at one moment.
struct AudioGraph {
  std::vector<AudioNodeInfo> devices;
  std::vector<AudioStreamInfo> streams;
  std::vector<AudioPortInfo> ports;

  // The device or application stream named `name`.
  std::optional<std::uint32_t> nodeIDNamed(std::string_view name) const {
    for (const AudioNodeInfo& node : devices) {
      if (node.name == name) return node.id;
    }
    for (const AudioStreamInfo& stream : streams) {
      if (stream.nodeName == name) return stream.id;
    }
    return std::nullopt;
  }
  // The node's ports of one direction, monitors left out, in port order.
  std::vector<AudioPortInfo> portsOf(std::uint32_t nodeID, bool output) const {
    std::vector<AudioPortInfo> found;
    for (const AudioPortInfo& port : ports) {
      if (port.nodeID == nodeID && port.output == output && !port.monitor) found.push_back(port);
    }
    std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.index < b.index; });
    return found;
  }
};

}  // namespace tavorin

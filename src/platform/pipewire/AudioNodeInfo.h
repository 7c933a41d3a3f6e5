#pragma once

#include <cstdint>
#include <string>

namespace tavorin {

// One audio device or virtual device in the PipeWire graph.
struct AudioNodeInfo {
  std::uint32_t id = 0;      // registry id, valid while the node exists and recycled at once afterwards
  std::uint64_t serial = 0;  // object.serial: never reused while the daemon runs
  std::string name;          // node.name: the stable identifier stored in settings
  std::string description;   // node.description, else node.nick, else name: what the operator sees
  std::string mediaClass;    // "Audio/Sink", "Audio/Source", "Audio/Source/Virtual" or "Audio/Duplex"
  int channels = -1;         // audio.channels; -1 when the node does not say

  friend bool operator==(const AudioNodeInfo&, const AudioNodeInfo&) = default;

  // A sink one can play into.
  bool isOutput() const { return mediaClass == "Audio/Sink" || mediaClass == "Audio/Duplex"; }
  // A source one can capture.
  bool isInput() const {
    return mediaClass == "Audio/Source" || mediaClass == "Audio/Source/Virtual" || mediaClass == "Audio/Duplex";
  }
};

}  // namespace tavorin

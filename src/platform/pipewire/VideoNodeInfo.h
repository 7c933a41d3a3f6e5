#pragma once

#include <cstdint>
#include <string>

namespace tavorin {

// One camera in the PipeWire graph: a Video/Source node that is not our own virtual camera.
struct VideoNodeInfo {
  std::uint32_t id = 0;      // registry id, valid while the node exists
  std::uint64_t serial = 0;  // object.serial: never reused while the daemon runs
  std::string name;          // node.name: stable, what settings keep
  std::string description;   // node.description, else node.nick, else name

  friend bool operator==(const VideoNodeInfo&, const VideoNodeInfo&) = default;
};

}  // namespace tavorin

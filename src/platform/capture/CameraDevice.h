#pragma once

#include <cstdint>
#include <string>

namespace tavorin {

// A camera the machine offers, as the device lists publish it.
struct CameraDevice {
  enum class Route { pipewire, v4l2 };

  // Stable across restarts and re-plugs: a PipeWire camera's node name, or a
  // V4L2 node's /dev/v4l/by-id link name, else its by-path name, else its
  // card and bus. The source's id is "camera:" + this.
  std::string uniqueID;
  std::string name;  // what the operator reads
  Route route = Route::v4l2;
  // Where it is opened: "/dev/videoN" for V4L2; the node's name for PipeWire.
  std::string path;
  // PipeWire's object serial of the node while it exists (never reused); 0 for V4L2.
  std::uint64_t serial = 0;

  friend bool operator==(const CameraDevice&, const CameraDevice&) = default;
};

}  // namespace tavorin

#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "platform/capture/CameraDevice.h"
#include "platform/v4l2/V4L2DeviceIO.h"

namespace tavorin {

// The V4L2 nodes under `root` (sys/class/video4linux, dev, dev/v4l/by-id and
// by-path beneath it; "/" on a real system) that stream video: metadata nodes
// and our own loopback camera are left out. Opens each node briefly.
std::vector<CameraDevice> discoverV4L2Cameras(V4L2DeviceIO& io, const std::filesystem::path& root);

// What says whether a new discovery is worth it: the node names and their
// by-id and by-path links. Reads folders only, so it is cheap to poll.
std::vector<std::string> v4l2NodeSignature(const std::filesystem::path& root);

}  // namespace tavorin

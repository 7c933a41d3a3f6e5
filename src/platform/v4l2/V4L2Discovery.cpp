#include "platform/v4l2/V4L2Discovery.h"

#include <linux/videodev2.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <system_error>

namespace tavorin {
namespace {

namespace fs = std::filesystem;

// The N of "videoN", for numeric order; -1 for anything else.
int nodeNumber(const std::string& name) {
  if (!name.starts_with("video") || name.size() == 5) return -1;
  int number = 0;
  for (char c : name.substr(5)) {
    if (c < '0' || c > '9') return -1;
    number = number * 10 + (c - '0');
  }
  return number;
}

std::vector<std::string> nodeNames(const fs::path& root) {
  std::vector<std::string> names;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(root / "sys/class/video4linux", ec)) {
    const std::string name = entry.path().filename().string();
    if (nodeNumber(name) >= 0) names.push_back(name);
  }
  std::sort(names.begin(), names.end(),
            [](const std::string& a, const std::string& b) { return nodeNumber(a) < nodeNumber(b); });
  return names;
}

std::vector<fs::path> linksIn(const fs::path& folder) {
  std::vector<fs::path> links;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(folder, ec)) {
    if (entry.is_symlink(ec)) links.push_back(entry.path());
  }
  std::sort(links.begin(), links.end());
  return links;
}

// The name of the first link in `folder` that leads to `node`.
std::optional<std::string> linkNameFor(const fs::path& folder, const fs::path& node) {
  std::error_code ec;
  const fs::path target = fs::canonical(node, ec);
  if (ec) return std::nullopt;
  for (const auto& link : linksIn(folder)) {
    const fs::path resolved = fs::canonical(link, ec);
    if (!ec && resolved == target) return link.filename().string();
  }
  return std::nullopt;
}

std::string textOf(const __u8* field, std::size_t size) {
  const auto* text = reinterpret_cast<const char*>(field);
  return std::string(text, strnlen(text, size));
}

}  // namespace

std::vector<CameraDevice> discoverV4L2Cameras(V4L2DeviceIO& io, const fs::path& root) {
  std::vector<CameraDevice> cameras;
  for (const auto& name : nodeNames(root)) {
    const fs::path node = root / "dev" / name;
    const int fd = io.open(node.string());
    if (fd < 0) continue;
    v4l2_capability capability{};
    const int status = io.ioctl(fd, VIDIOC_QUERYCAP, &capability);
    io.close(fd);
    if (status < 0) continue;
    const std::uint32_t caps =
        (capability.capabilities & V4L2_CAP_DEVICE_CAPS) ? capability.device_caps : capability.capabilities;
    const bool captures = caps & (V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_VIDEO_CAPTURE_MPLANE);
    if (!captures || !(caps & V4L2_CAP_STREAMING)) continue;
    const std::string driver = textOf(capability.driver, sizeof capability.driver);
    const std::string card = textOf(capability.card, sizeof capability.card);
    // Our own virtual camera would show the show back to itself.
    if (driver == "v4l2 loopback" && card.starts_with("Tavorin")) continue;

    CameraDevice camera;
    camera.name = card;
    camera.route = CameraDevice::Route::v4l2;
    camera.path = node.string();
    auto id = linkNameFor(root / "dev/v4l/by-id", node);
    if (!id) id = linkNameFor(root / "dev/v4l/by-path", node);
    camera.uniqueID = id ? *id : card + "@" + textOf(capability.bus_info, sizeof capability.bus_info);
    cameras.push_back(std::move(camera));
  }
  return cameras;
}

std::vector<std::string> v4l2NodeSignature(const fs::path& root) {
  std::vector<std::string> signature = nodeNames(root);
  for (const char* folder : {"dev/v4l/by-id", "dev/v4l/by-path"}) {
    for (const auto& link : linksIn(root / folder)) signature.push_back(link.string());
  }
  return signature;
}

}  // namespace tavorin

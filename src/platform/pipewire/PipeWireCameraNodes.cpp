#include "platform/pipewire/PipeWireCameraNodes.h"

#include <pipewire/pipewire.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace tavorin {
namespace {

// Our own virtual camera would show the show back to itself.
bool isOurVirtualCamera(std::string_view name, std::string_view description) {
  return name == "tavorin-virtual-camera" || name == "Tavorin" || description == "Tavorin";
}

}  // namespace

PipeWireCameraNodes::PipeWireCameraNodes(PipeWireLoop& loop, std::function<void()> onChange)
    : onChange_(std::move(onChange)),
      watch_(
          loop, [this](std::uint32_t id, const char* type, const spa_dict& props) { added(id, type, props); },
          [this](std::uint32_t id) { removed(id); }) {}

PipeWireCameraNodes::~PipeWireCameraNodes() { watch_.stop(); }

std::vector<VideoNodeInfo> PipeWireCameraNodes::nodes() const {
  std::lock_guard lock(mutex_);
  return nodes_;
}

std::optional<VideoNodeInfo> PipeWireCameraNodes::nodeNamed(const std::string& name) const {
  std::lock_guard lock(mutex_);
  auto it = std::find_if(nodes_.begin(), nodes_.end(), [&](const VideoNodeInfo& n) { return n.name == name; });
  if (it == nodes_.end()) return std::nullopt;
  return *it;
}

void PipeWireCameraNodes::added(std::uint32_t id, const char* type, const spa_dict& props) {
  if (std::strcmp(type, PW_TYPE_INTERFACE_Node) != 0) return;
  const char* mediaClass = spa_dict_lookup(&props, PW_KEY_MEDIA_CLASS);
  const char* name = spa_dict_lookup(&props, PW_KEY_NODE_NAME);
  if (!mediaClass || std::strcmp(mediaClass, "Video/Source") != 0 || !name) return;
  const char* description = spa_dict_lookup(&props, PW_KEY_NODE_DESCRIPTION);
  if (!description || !*description) description = spa_dict_lookup(&props, PW_KEY_NODE_NICK);
  if (!description || !*description) description = name;
  if (isOurVirtualCamera(name, description)) return;

  VideoNodeInfo node;
  node.id = id;
  node.name = name;
  node.description = description;
  if (const char* serial = spa_dict_lookup(&props, PW_KEY_OBJECT_SERIAL)) node.serial = std::strtoull(serial, nullptr, 10);
  {
    std::lock_guard lock(mutex_);
    nodes_.push_back(std::move(node));
  }
  if (onChange_) onChange_();
}

void PipeWireCameraNodes::removed(std::uint32_t id) {
  {
    std::lock_guard lock(mutex_);
    auto it = std::find_if(nodes_.begin(), nodes_.end(), [&](const VideoNodeInfo& n) { return n.id == id; });
    if (it == nodes_.end()) return;
    nodes_.erase(it);
  }
  if (onChange_) onChange_();
}

}  // namespace tavorin

#include "platform/pipewire/PipeWireCameraNodes.h"

#include <pipewire/pipewire.h>

#include <algorithm>
#include <chrono>
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
    : loop_(loop), onChange_(std::move(onChange)) {
  static const pw_registry_events registryEvents = [] {
    pw_registry_events e{};
    e.version = PW_VERSION_REGISTRY_EVENTS;
    e.global = &PipeWireCameraNodes::onGlobal;
    e.global_remove = &PipeWireCameraNodes::onGlobalRemove;
    return e;
  }();
  static const pw_core_events coreEvents = [] {
    pw_core_events e{};
    e.version = PW_VERSION_CORE_EVENTS;
    e.done = &PipeWireCameraNodes::onCoreDone;
    return e;
  }();
  loop_.locked([&] {
    registry_ = pw_core_get_registry(loop_.core(), PW_VERSION_REGISTRY, 0);
    if (!registry_) return;
    pw_core_add_listener(loop_.core(), &coreListener_, &coreEvents, this);
    pw_registry_add_listener(registry_, &registryListener_, &registryEvents, this);
    pendingSeq_ = pw_core_sync(loop_.core(), PW_ID_CORE, 0);
  });
  if (!registry_) throw PipeWireFailure("PipeWire refused a registry");
}

PipeWireCameraNodes::~PipeWireCameraNodes() {
  loop_.locked([&] {
    spa_hook_remove(&registryListener_);
    spa_hook_remove(&coreListener_);
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
  });
}

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

bool PipeWireCameraNodes::waitUntilSynced(double timeoutSeconds) {
  std::unique_lock lock(mutex_);
  return syncedChanged_.wait_for(lock, std::chrono::duration<double>(timeoutSeconds), [&] { return synced_; });
}

void PipeWireCameraNodes::onGlobal(void* data, uint32_t id, uint32_t /*permissions*/, const char* type,
                                   uint32_t /*version*/, const spa_dict* props) {
  auto* self = static_cast<PipeWireCameraNodes*>(data);
  if (!type || !props || std::strcmp(type, PW_TYPE_INTERFACE_Node) != 0) return;
  const char* mediaClass = spa_dict_lookup(props, PW_KEY_MEDIA_CLASS);
  const char* name = spa_dict_lookup(props, PW_KEY_NODE_NAME);
  if (!mediaClass || std::strcmp(mediaClass, "Video/Source") != 0 || !name) return;
  const char* description = spa_dict_lookup(props, PW_KEY_NODE_DESCRIPTION);
  if (!description || !*description) description = spa_dict_lookup(props, PW_KEY_NODE_NICK);
  if (!description || !*description) description = name;
  if (isOurVirtualCamera(name, description)) return;

  VideoNodeInfo node;
  node.id = id;
  node.name = name;
  node.description = description;
  if (const char* serial = spa_dict_lookup(props, PW_KEY_OBJECT_SERIAL)) node.serial = std::strtoull(serial, nullptr, 10);
  {
    std::lock_guard lock(self->mutex_);
    self->nodes_.push_back(std::move(node));
  }
  if (self->onChange_) self->onChange_();
}

void PipeWireCameraNodes::onGlobalRemove(void* data, uint32_t id) {
  auto* self = static_cast<PipeWireCameraNodes*>(data);
  {
    std::lock_guard lock(self->mutex_);
    auto it = std::find_if(self->nodes_.begin(), self->nodes_.end(), [&](const VideoNodeInfo& n) { return n.id == id; });
    if (it == self->nodes_.end()) return;
    self->nodes_.erase(it);
  }
  if (self->onChange_) self->onChange_();
}

void PipeWireCameraNodes::onCoreDone(void* data, uint32_t id, int seq) {
  auto* self = static_cast<PipeWireCameraNodes*>(data);
  if (id != PW_ID_CORE || seq != self->pendingSeq_) return;
  {
    std::lock_guard lock(self->mutex_);
    self->synced_ = true;
  }
  self->syncedChanged_.notify_all();
}

}  // namespace tavorin

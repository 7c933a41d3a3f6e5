#include "platform/pipewire/PipeWireRegistry.h"

#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>
#include <spa/utils/json.h>

#include <algorithm>
#include <cstring>

namespace tavorin {
namespace {

constexpr const char* defaultSinkKey = "default.audio.sink";
constexpr const char* defaultSourceKey = "default.audio.source";

bool isAudioDeviceClass(const char* mediaClass) {
  if (!mediaClass) return false;
  for (const char* known : {"Audio/Sink", "Audio/Source", "Audio/Source/Virtual", "Audio/Duplex"}) {
    if (std::strcmp(mediaClass, known) == 0) return true;
  }
  return false;
}

// The "name" of a default entry's JSON value, e.g. {"name":"alsa_output.usb-…"}.
std::optional<std::string> nameInDefaultValue(const char* value) {
  if (!value) return std::nullopt;
  spa_json outer;
  spa_json object;
  spa_json_init(&outer, value, std::strlen(value));
  if (spa_json_enter_object(&outer, &object) <= 0) return std::nullopt;
  char key[64];
  while (spa_json_get_string(&object, key, sizeof key) > 0) {
    const char* item = nullptr;
    const int length = spa_json_next(&object, &item);
    if (length <= 0) return std::nullopt;
    if (std::strcmp(key, "name") != 0) continue;
    if (!spa_json_is_string(item, length)) return std::nullopt;
    std::string name(static_cast<std::size_t>(length) + 1, '\0');
    if (spa_json_parse_stringn(item, length, name.data(), length + 1) <= 0) return std::nullopt;
    name.resize(std::strlen(name.c_str()));
    return name;
  }
  return std::nullopt;
}

}  // namespace

PipeWireRegistry::PipeWireRegistry(PipeWireLoop& loop, std::function<void()> onChange)
    : loop_(loop),
      onChange_(std::move(onChange)),
      watch_(
          loop, [this](std::uint32_t id, const char* type, const spa_dict& props) { added(id, type, props); },
          [this](std::uint32_t id) { removed(id); }) {}

PipeWireRegistry::~PipeWireRegistry() {
  // No registry event may bind the metadata again once it is dropped.
  watch_.stop();
  loop_.locked([&] { dropMetadata(); });
}

std::vector<AudioNodeInfo> PipeWireRegistry::nodes() const {
  std::lock_guard lock(mutex_);
  return nodes_;
}

std::optional<AudioNodeInfo> PipeWireRegistry::nodeNamed(const std::string& name) const {
  std::lock_guard lock(mutex_);
  auto it = std::find_if(nodes_.begin(), nodes_.end(), [&](const AudioNodeInfo& n) { return n.name == name; });
  if (it == nodes_.end()) return std::nullopt;
  return *it;
}

std::optional<std::string> PipeWireRegistry::defaultSinkName() const {
  std::lock_guard lock(mutex_);
  return defaultSink_;
}

std::optional<std::string> PipeWireRegistry::defaultSourceName() const {
  std::lock_guard lock(mutex_);
  return defaultSource_;
}

void PipeWireRegistry::added(std::uint32_t id, const char* type, const spa_dict& props) {
  if (std::strcmp(type, PW_TYPE_INTERFACE_Metadata) == 0) {
    const char* name = spa_dict_lookup(&props, PW_KEY_METADATA_NAME);
    if (name && std::strcmp(name, "default") == 0) bindDefaultMetadata(id, type);
    return;
  }
  if (std::strcmp(type, PW_TYPE_INTERFACE_Node) != 0) return;
  const char* mediaClass = spa_dict_lookup(&props, PW_KEY_MEDIA_CLASS);
  const char* name = spa_dict_lookup(&props, PW_KEY_NODE_NAME);
  if (!isAudioDeviceClass(mediaClass) || !name) return;

  AudioNodeInfo node;
  node.id = id;
  node.name = name;
  node.mediaClass = mediaClass;
  const char* description = spa_dict_lookup(&props, PW_KEY_NODE_DESCRIPTION);
  if (!description || !*description) description = spa_dict_lookup(&props, PW_KEY_NODE_NICK);
  node.description = description && *description ? description : name;
  {
    std::lock_guard lock(mutex_);
    nodes_.push_back(std::move(node));
  }
  notify();
}

void PipeWireRegistry::removed(std::uint32_t id) {
  if (metadata_ && id == metadataId_) {
    dropMetadata();
    bool hadDefaults = false;
    {
      std::lock_guard lock(mutex_);
      hadDefaults = defaultSink_ || defaultSource_;
      defaultSink_.reset();
      defaultSource_.reset();
    }
    if (hadDefaults) notify();
    return;
  }
  bool erased = false;
  {
    std::lock_guard lock(mutex_);
    auto it = std::find_if(nodes_.begin(), nodes_.end(), [&](const AudioNodeInfo& n) { return n.id == id; });
    if (it != nodes_.end()) {
      nodes_.erase(it);
      erased = true;
    }
  }
  if (erased) notify();
}

int PipeWireRegistry::onMetadataProperty(void* data, uint32_t subject, const char* key, const char* /*type*/,
                                         const char* value) {
  auto* self = static_cast<PipeWireRegistry*>(data);
  if (subject != PW_ID_CORE) return 0;
  bool changed = false;
  {
    std::lock_guard lock(self->mutex_);
    auto update = [&](std::optional<std::string>& field, std::optional<std::string> next) {
      if (field == next) return;
      field = std::move(next);
      changed = true;
    };
    // A null key clears every entry.
    if (!key) {
      update(self->defaultSink_, std::nullopt);
      update(self->defaultSource_, std::nullopt);
    } else if (std::strcmp(key, defaultSinkKey) == 0) {
      update(self->defaultSink_, nameInDefaultValue(value));
    } else if (std::strcmp(key, defaultSourceKey) == 0) {
      update(self->defaultSource_, nameInDefaultValue(value));
    }
  }
  if (changed) self->notify();
  return 0;
}

void PipeWireRegistry::bindDefaultMetadata(uint32_t id, const char* type) {
  static const pw_metadata_events metadataEvents = [] {
    pw_metadata_events e{};
    e.version = PW_VERSION_METADATA_EVENTS;
    e.property = &PipeWireRegistry::onMetadataProperty;
    return e;
  }();
  dropMetadata();
  metadata_ = static_cast<pw_metadata*>(pw_registry_bind(watch_.registry(), id, type, PW_VERSION_METADATA, 0));
  if (!metadata_) return;
  metadataId_ = id;
  pw_metadata_add_listener(metadata_, &metadataListener_, &metadataEvents, this);
  // The metadata's current entries arrive after the bind: sync again so waitUntilSynced covers them.
  watch_.syncAgain();
}

void PipeWireRegistry::dropMetadata() {
  if (!metadata_) return;
  spa_hook_remove(&metadataListener_);
  pw_proxy_destroy(reinterpret_cast<pw_proxy*>(metadata_));
  metadata_ = nullptr;
}

void PipeWireRegistry::notify() {
  if (onChange_) onChange_();
}

}  // namespace tavorin

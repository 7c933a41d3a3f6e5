#include "platform/pipewire/PipeWireRegistry.h"

#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>
#include <spa/utils/json.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <filesystem>

namespace tavorin {
namespace {

constexpr const char* defaultSinkKey = "default.audio.sink";
constexpr const char* defaultSourceKey = "default.audio.source";
constexpr const char* configuredSinkKey = "default.configured.audio.sink";
constexpr const char* playbackStreamClass = "Stream/Output/Audio";
// Set by the portal's access module on sandboxed clients.
constexpr const char* portalAppIDKey = "pipewire.access.portal.app_id";

bool isAudioDeviceClass(const char* mediaClass) {
  if (!mediaClass) return false;
  for (const char* known : {"Audio/Sink", "Audio/Source", "Audio/Source/Virtual", "Audio/Duplex"}) {
    if (std::strcmp(mediaClass, known) == 0) return true;
  }
  return false;
}

bool isPlaybackStreamClass(const char* mediaClass) {
  return mediaClass && std::strcmp(mediaClass, playbackStreamClass) == 0;
}

std::string text(const spa_dict& props, const char* key) {
  const char* value = spa_dict_lookup(&props, key);
  return value ? value : "";
}

// A whole decimal number, or `fallback`.
template <class Int>
Int number(const spa_dict& props, const char* key, Int fallback) {
  const char* value = spa_dict_lookup(&props, key);
  if (!value) return fallback;
  Int parsed{};
  const char* end = value + std::strlen(value);
  auto [at, error] = std::from_chars(value, end, parsed);
  return error == std::errc{} && at == end ? parsed : fallback;
}

const std::string& firstSet(const std::string& preferred, const std::string& fallback) {
  return preferred.empty() ? fallback : preferred;
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

// {"name":"…"} with the name escaped for JSON.
std::string defaultValueNaming(const std::string& name) {
  std::string json = "{\"name\":\"";
  for (const char c : name) {
    if (c == '"' || c == '\\') json += '\\';
    json += c;
  }
  return json + "\"}";
}

template <class Record>
bool replaceOrAppend(std::vector<Record>& records, Record record) {
  auto it = std::find_if(records.begin(), records.end(), [&](const Record& r) { return r.id == record.id; });
  if (it == records.end()) {
    records.push_back(std::move(record));
    return true;
  }
  if (*it == record) return false;
  *it = std::move(record);
  return true;
}

template <class Record>
bool eraseID(std::vector<Record>& records, std::uint32_t id) {
  return std::erase_if(records, [&](const Record& r) { return r.id == id; }) > 0;
}

}  // namespace

// A bound node or client: its info events carry all its properties.
struct PipeWireRegistry::Binding {
  PipeWireRegistry* owner = nullptr;
  std::uint32_t id = 0;
  pw_proxy* proxy = nullptr;
  spa_hook listener{};

  ~Binding() {
    spa_hook_remove(&listener);
    pw_proxy_destroy(proxy);
  }

  static void nodeInfo(void* data, const pw_node_info* info) {
    auto* self = static_cast<Binding*>(data);
    if (info && info->props && (info->change_mask & PW_NODE_CHANGE_MASK_PROPS)) {
      self->owner->nodeDescribed(self->id, *info->props);
    }
  }
  static void clientInfo(void* data, const pw_client_info* info) {
    auto* self = static_cast<Binding*>(data);
    if (info && info->props && (info->change_mask & PW_CLIENT_CHANGE_MASK_PROPS)) {
      self->owner->clientDescribed(self->id, *info->props);
    }
  }
};

PipeWireRegistry::PipeWireRegistry(PipeWireLoop& loop, std::function<void()> onDevicesChanged)
    : loop_(loop),
      onDevicesChanged_(std::move(onDevicesChanged)),
      watch_(
          loop, [this](std::uint32_t id, const char* type, const spa_dict& props) { added(id, type, props); },
          [this](std::uint32_t id) { removed(id); }) {}

PipeWireRegistry::~PipeWireRegistry() {
  // No registry event may bind anything again once the bindings are dropped.
  watch_.stop();
  loop_.locked([&] {
    dropMetadata();
    bindings_.clear();
  });
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

std::vector<AudioStreamInfo> PipeWireRegistry::streams() const {
  std::lock_guard lock(mutex_);
  std::vector<AudioStreamInfo> streams;
  for (const StreamRecord& stream : streams_) streams.push_back(resolved(stream));
  return streams;
}

AudioGraph PipeWireRegistry::graph() const {
  std::lock_guard lock(mutex_);
  AudioGraph graph{nodes_, {}, ports_};
  for (const StreamRecord& stream : streams_) graph.streams.push_back(resolved(stream));
  return graph;
}

std::optional<std::string> PipeWireRegistry::defaultSinkName() const {
  std::lock_guard lock(mutex_);
  return defaultSink_;
}

std::optional<std::string> PipeWireRegistry::defaultSourceName() const {
  std::lock_guard lock(mutex_);
  return defaultSource_;
}

int PipeWireRegistry::subscribe(std::function<void()> listener) {
  int token = 0;
  loop_.locked([&] {
    token = ++nextToken_;
    listeners_.emplace_back(token, std::move(listener));
  });
  return token;
}

void PipeWireRegistry::unsubscribe(int token) {
  loop_.locked([&] { std::erase_if(listeners_, [&](const auto& entry) { return entry.first == token; }); });
}

void PipeWireRegistry::destroyNodesNamed(const std::string& name) {
  std::vector<std::uint32_t> ids;
  {
    std::lock_guard lock(mutex_);
    for (const AudioNodeInfo& node : nodes_) {
      if (node.name == name) ids.push_back(node.id);
    }
    for (const StreamRecord& stream : streams_) {
      if (stream.nodeName == name) ids.push_back(stream.id);
    }
  }
  loop_.locked([&] {
    if (!watch_.registry()) return;
    for (const std::uint32_t id : ids) pw_registry_destroy(watch_.registry(), id);
  });
}

bool PipeWireRegistry::setConfiguredDefaultSink(const std::string& name, std::string* error) {
  bool sent = false;
  loop_.locked([&] {
    if (!metadata_) return;
    pw_metadata_set_property(metadata_, PW_ID_CORE, configuredSinkKey, "Spa:String:JSON",
                             defaultValueNaming(name).c_str());
    sent = true;
  });
  if (!sent) {
    if (error) *error = "PipeWire has no \"default\" metadata (is a session manager such as WirePlumber running?)";
    return false;
  }
  if (loop_.roundTrip()) return true;
  if (error) *error = "PipeWire did not answer while setting the default output";
  return false;
}

void PipeWireRegistry::added(std::uint32_t id, const char* type, const spa_dict& props) {
  if (std::strcmp(type, PW_TYPE_INTERFACE_Metadata) == 0) {
    const char* name = spa_dict_lookup(&props, PW_KEY_METADATA_NAME);
    if (name && std::strcmp(name, "default") == 0) bindDefaultMetadata(id, type);
    return;
  }
  if (std::strcmp(type, PW_TYPE_INTERFACE_Client) == 0) {
    bind(id, type, PW_VERSION_CLIENT, true);
    return;
  }
  if (std::strcmp(type, PW_TYPE_INTERFACE_Port) == 0) {
    AudioPortInfo port;
    port.id = id;
    port.nodeID = number<std::uint32_t>(props, PW_KEY_NODE_ID, 0);
    port.index = number<std::uint32_t>(props, PW_KEY_PORT_ID, 0);
    port.output = text(props, PW_KEY_PORT_DIRECTION) == "out";
    port.monitor = text(props, PW_KEY_PORT_MONITOR) == "true";
    port.channel = text(props, PW_KEY_AUDIO_CHANNEL);
    {
      std::lock_guard lock(mutex_);
      replaceOrAppend(ports_, std::move(port));
    }
    notify(portsChanged);
    return;
  }
  if (std::strcmp(type, PW_TYPE_INTERFACE_Node) != 0) return;
  // The announcement carries only a few properties; the binding brings the rest.
  const char* mediaClass = spa_dict_lookup(&props, PW_KEY_MEDIA_CLASS);
  if (isAudioDeviceClass(mediaClass) || isPlaybackStreamClass(mediaClass)) bind(id, type, PW_VERSION_NODE, false);
}

void PipeWireRegistry::bind(std::uint32_t id, const char* type, std::uint32_t version, bool client) {
  static const pw_node_events nodeEvents = [] {
    pw_node_events e{};
    e.version = PW_VERSION_NODE_EVENTS;
    e.info = &Binding::nodeInfo;
    return e;
  }();
  static const pw_client_events clientEvents = [] {
    pw_client_events e{};
    e.version = PW_VERSION_CLIENT_EVENTS;
    e.info = &Binding::clientInfo;
    return e;
  }();
  auto* proxy = static_cast<pw_proxy*>(pw_registry_bind(watch_.registry(), id, type, version, 0));
  if (!proxy) return;
  auto binding = std::make_unique<Binding>();
  binding->owner = this;
  binding->id = id;
  binding->proxy = proxy;
  if (client) {
    pw_client_add_listener(reinterpret_cast<pw_client*>(proxy), &binding->listener, &clientEvents, binding.get());
  } else {
    pw_node_add_listener(reinterpret_cast<pw_node*>(proxy), &binding->listener, &nodeEvents, binding.get());
  }
  bindings_[id] = std::move(binding);
  // The description arrives after the bind: sync again so waitUntilSynced covers it.
  watch_.syncAgain();
}

void PipeWireRegistry::nodeDescribed(std::uint32_t id, const spa_dict& props) {
  const std::string mediaClass = text(props, PW_KEY_MEDIA_CLASS);
  const std::string name = text(props, PW_KEY_NODE_NAME);
  if (name.empty()) return;
  if (isPlaybackStreamClass(mediaClass.c_str())) {
    StreamRecord stream;
    stream.id = id;
    stream.clientID = number<std::uint32_t>(props, PW_KEY_CLIENT_ID, 0);
    stream.nodeName = name;
    stream.app = {text(props, portalAppIDKey), text(props, PW_KEY_APP_ID), text(props, PW_KEY_APP_PROCESS_BINARY),
                  text(props, PW_KEY_APP_NAME), number<std::int64_t>(props, PW_KEY_APP_PROCESS_ID, 0)};
    bool changed = false;
    {
      std::lock_guard lock(mutex_);
      auto it = std::find_if(streams_.begin(), streams_.end(), [&](const StreamRecord& s) { return s.id == id; });
      if (it == streams_.end()) {
        streams_.push_back(std::move(stream));
        changed = true;
      } else {
        changed = resolved(*it) != resolved(stream);
        *it = std::move(stream);
      }
    }
    if (changed) notify(streamsChanged);
    return;
  }
  AudioNodeInfo node;
  node.id = id;
  node.serial = number<std::uint64_t>(props, PW_KEY_OBJECT_SERIAL, 0);
  node.name = name;
  node.mediaClass = mediaClass;
  node.description = firstSet(text(props, PW_KEY_NODE_DESCRIPTION), firstSet(text(props, PW_KEY_NODE_NICK), name));
  node.channels = number<int>(props, PW_KEY_AUDIO_CHANNELS, -1);
  bool changed = false;
  {
    std::lock_guard lock(mutex_);
    changed = replaceOrAppend(nodes_, std::move(node));
  }
  if (changed) notify(devicesChanged);
}

void PipeWireRegistry::clientDescribed(std::uint32_t id, const spa_dict& props) {
  AppProps app{text(props, portalAppIDKey), text(props, PW_KEY_APP_ID), text(props, PW_KEY_APP_PROCESS_BINARY),
               text(props, PW_KEY_APP_NAME), number<std::int64_t>(props, PW_KEY_APP_PROCESS_ID, 0)};
  // The protocol's own record of the peer stands in when the client does not say.
  if (app.processID == 0) app.processID = number<std::int64_t>(props, PW_KEY_SEC_PID, 0);
  bool hasStreams = false;
  {
    std::lock_guard lock(mutex_);
    clients_[id] = std::move(app);
    hasStreams = std::any_of(streams_.begin(), streams_.end(), [&](const StreamRecord& s) { return s.clientID == id; });
  }
  if (hasStreams) notify(streamsChanged);
}

// With mutex_ held: what the stream's node says, and for what it leaves out, its client.
AudioStreamInfo PipeWireRegistry::resolved(const StreamRecord& stream) const {
  static const AppProps unknownClient;
  auto client = clients_.find(stream.clientID);
  const AppProps& owner = client != clients_.end() ? client->second : unknownClient;
  const AppProps& own = stream.app;
  AudioStreamInfo info;
  info.id = stream.id;
  info.nodeName = stream.nodeName;
  const std::string binary = std::filesystem::path(firstSet(own.binary, owner.binary)).filename().string();
  for (const std::string* candidate : {&own.portalAppID, &owner.portalAppID, &own.appID, &owner.appID, &binary,
                                       &own.name, &owner.name}) {
    if (candidate->empty()) continue;
    info.appID = *candidate;
    break;
  }
  info.appName = firstSet(firstSet(own.name, owner.name), info.appID);
  info.processID = own.processID ? own.processID : owner.processID;
  return info;
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
    if (hadDefaults) notify(defaultsChanged);
    return;
  }
  bindings_.erase(id);
  unsigned changes = 0;
  {
    std::lock_guard lock(mutex_);
    if (eraseID(nodes_, id)) changes |= devicesChanged;
    if (eraseID(streams_, id)) changes |= streamsChanged;
    if (eraseID(ports_, id)) changes |= portsChanged;
    clients_.erase(id);
  }
  if (changes) notify(changes);
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
  if (changed) self->notify(defaultsChanged);
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

void PipeWireRegistry::notify(unsigned changes) {
  if ((changes & (devicesChanged | defaultsChanged)) && onDevicesChanged_) onDevicesChanged_();
  if (!(changes & (devicesChanged | streamsChanged | portsChanged))) return;
  // A copy, so that a listener may unsubscribe while being told.
  const auto listeners = listeners_;
  for (const auto& [token, listener] : listeners) listener();
}

}  // namespace tavorin

#pragma once

#include <spa/utils/hook.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/pipewire/AudioGraph.h"
#include "platform/pipewire/PipeWireLoop.h"
#include "platform/pipewire/PipeWireRegistryWatch.h"

struct pw_metadata;
struct spa_dict;

namespace tavorin {

// Watches the graph for audio devices, applications' playback streams, their
// ports, and the default sink and source (the "default" metadata's
// default.audio.sink / default.audio.source). Devices and streams are bound
// for their full properties, which the registry's announcement leaves out.
class PipeWireRegistry {
 public:
  // `onDevicesChanged` runs on the loop thread after a device comes, goes or
  // changes, or a default changes; callers hop to their own thread from there.
  PipeWireRegistry(PipeWireLoop& loop, std::function<void()> onDevicesChanged);
  ~PipeWireRegistry();
  PipeWireRegistry(const PipeWireRegistry&) = delete;
  PipeWireRegistry& operator=(const PipeWireRegistry&) = delete;

  // Snapshots, safe from any thread. Nodes are in the order they were described.
  std::vector<AudioNodeInfo> nodes() const;
  std::optional<AudioNodeInfo> nodeNamed(const std::string& name) const;
  std::vector<AudioStreamInfo> streams() const;
  AudioGraph graph() const;
  std::optional<std::string> defaultSinkName() const;
  std::optional<std::string> defaultSourceName() const;

  // `listener` runs on the loop thread, with the loop locked, after any change
  // of the graph: devices, streams or ports. Both take the loop lock.
  int subscribe(std::function<void()> listener);
  void unsubscribe(int token);

  // Asks the daemon to destroy every node named `name`.
  void destroyNodesNamed(const std::string& name);
  // Makes `name` the user's chosen default sink, as the desktop's sound
  // settings do; the session manager then makes it the default. Waits for the
  // daemon's answer. Not from the loop thread.
  bool setConfiguredDefaultSink(const std::string& name, std::string* error);

  // Waits until the daemon has announced and described everything that existed
  // at construction, defaults included. False on time-out. Not from the loop thread.
  bool waitUntilSynced(double timeoutSeconds = 5.0) { return watch_.waitUntilSynced(timeoutSeconds); }

 private:
  struct Binding;
  // Who plays a stream, as a node or its client says it.
  struct AppProps {
    std::string portalAppID;
    std::string appID;
    std::string binary;
    std::string name;
    std::int64_t processID = 0;
  };
  struct StreamRecord {
    std::uint32_t id = 0;
    std::uint32_t clientID = 0;
    std::string nodeName;
    AppProps app;
  };
  enum Change : unsigned { devicesChanged = 1, defaultsChanged = 2, streamsChanged = 4, portsChanged = 8 };

  void added(std::uint32_t id, const char* type, const spa_dict& props);
  void removed(std::uint32_t id);
  void bind(std::uint32_t id, const char* type, std::uint32_t version, bool client);
  void nodeDescribed(std::uint32_t id, const spa_dict& props);
  void clientDescribed(std::uint32_t id, const spa_dict& props);
  AudioStreamInfo resolved(const StreamRecord& stream) const;
  static int onMetadataProperty(void* data, uint32_t subject, const char* key, const char* type, const char* value);
  void bindDefaultMetadata(uint32_t id, const char* type);
  void dropMetadata();
  void notify(unsigned changes);

  PipeWireLoop& loop_;
  std::function<void()> onDevicesChanged_;

  // Loop thread only (or under the loop lock).
  pw_metadata* metadata_ = nullptr;
  uint32_t metadataId_ = 0;
  spa_hook metadataListener_{};
  std::map<std::uint32_t, std::unique_ptr<Binding>> bindings_;
  std::vector<std::pair<int, std::function<void()>>> listeners_;
  int nextToken_ = 0;

  mutable std::mutex mutex_;
  std::vector<AudioNodeInfo> nodes_;
  std::vector<StreamRecord> streams_;
  std::map<std::uint32_t, AppProps> clients_;
  std::vector<AudioPortInfo> ports_;
  std::optional<std::string> defaultSink_;
  std::optional<std::string> defaultSource_;
  // Last: its callbacks use the fields above.
  PipeWireRegistryWatch watch_;
};

}  // namespace tavorin

#pragma once

#include <spa/utils/hook.h>

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/pipewire/AudioNodeInfo.h"
#include "platform/pipewire/PipeWireLoop.h"
#include "platform/pipewire/PipeWireRegistryWatch.h"

struct pw_metadata;
struct spa_dict;

namespace tavorin {

// Watches the graph for audio devices and for the default sink and source
// (the "default" metadata's default.audio.sink / default.audio.source).
class PipeWireRegistry {
 public:
  // `onChange` runs on the loop thread after a node comes or goes or a default
  // changes; callers hop to their own thread from there.
  PipeWireRegistry(PipeWireLoop& loop, std::function<void()> onChange);
  ~PipeWireRegistry();
  PipeWireRegistry(const PipeWireRegistry&) = delete;
  PipeWireRegistry& operator=(const PipeWireRegistry&) = delete;

  // Snapshots, safe from any thread. Nodes are in the order the registry announced them.
  std::vector<AudioNodeInfo> nodes() const;
  std::optional<AudioNodeInfo> nodeNamed(const std::string& name) const;
  std::optional<std::string> defaultSinkName() const;
  std::optional<std::string> defaultSourceName() const;

  // Waits until the daemon has announced everything that existed at construction,
  // defaults included. False on time-out. Not from the loop thread.
  bool waitUntilSynced(double timeoutSeconds = 5.0) { return watch_.waitUntilSynced(timeoutSeconds); }

 private:
  void added(std::uint32_t id, const char* type, const spa_dict& props);
  void removed(std::uint32_t id);
  static int onMetadataProperty(void* data, uint32_t subject, const char* key, const char* type, const char* value);
  void bindDefaultMetadata(uint32_t id, const char* type);
  void dropMetadata();
  void notify();

  PipeWireLoop& loop_;
  std::function<void()> onChange_;

  // Loop thread only (or under the loop lock).
  pw_metadata* metadata_ = nullptr;
  uint32_t metadataId_ = 0;
  spa_hook metadataListener_{};

  mutable std::mutex mutex_;
  std::vector<AudioNodeInfo> nodes_;
  std::optional<std::string> defaultSink_;
  std::optional<std::string> defaultSource_;
  // Last: its callbacks use the fields above.
  PipeWireRegistryWatch watch_;
};

}  // namespace tavorin

#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/pipewire/PipeWireLoop.h"
#include "platform/pipewire/PipeWireRegistryWatch.h"
#include "platform/pipewire/VideoNodeInfo.h"

struct spa_dict;

namespace tavorin {

// Watches the graph for cameras: Video/Source nodes, our own virtual camera left out.
class PipeWireCameraNodes {
 public:
  // `onChange` runs on the loop thread after a camera comes or goes.
  PipeWireCameraNodes(PipeWireLoop& loop, std::function<void()> onChange);
  ~PipeWireCameraNodes();
  PipeWireCameraNodes(const PipeWireCameraNodes&) = delete;
  PipeWireCameraNodes& operator=(const PipeWireCameraNodes&) = delete;

  // Snapshots, safe from any thread, in the order the registry announced them.
  std::vector<VideoNodeInfo> nodes() const;
  std::optional<VideoNodeInfo> nodeNamed(const std::string& name) const;
  // Waits until everything that existed at construction was announced. Not from the loop thread.
  bool waitUntilSynced(double timeoutSeconds = 5.0) { return watch_.waitUntilSynced(timeoutSeconds); }

 private:
  void added(std::uint32_t id, const char* type, const spa_dict& props);
  void removed(std::uint32_t id);

  std::function<void()> onChange_;
  mutable std::mutex mutex_;
  std::vector<VideoNodeInfo> nodes_;
  // Last: its callbacks use the fields above.
  PipeWireRegistryWatch watch_;
};

}  // namespace tavorin

#pragma once

#include <spa/utils/hook.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/pipewire/PipeWireLoop.h"
#include "platform/pipewire/VideoNodeInfo.h"

struct pw_registry;
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
  bool waitUntilSynced(double timeoutSeconds = 5.0);

 private:
  static void onGlobal(void* data, uint32_t id, uint32_t permissions, const char* type, uint32_t version,
                       const spa_dict* props);
  static void onGlobalRemove(void* data, uint32_t id);
  static void onCoreDone(void* data, uint32_t id, int seq);

  PipeWireLoop& loop_;
  std::function<void()> onChange_;

  // Loop thread only (or under the loop lock).
  pw_registry* registry_ = nullptr;
  spa_hook registryListener_{};
  spa_hook coreListener_{};
  int pendingSeq_ = -1;

  mutable std::mutex mutex_;
  std::condition_variable syncedChanged_;
  bool synced_ = false;
  std::vector<VideoNodeInfo> nodes_;
};

}  // namespace tavorin

#pragma once

#include <spa/utils/hook.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>

#include "platform/pipewire/PipeWireLoop.h"

struct pw_registry;
struct spa_dict;

namespace tavorin {

// The registry of a loop's connection: every global as it comes and goes,
// and a round trip that tells when everything there was has been announced.
// The lists built on it (audio devices, cameras) keep what they care about.
class PipeWireRegistryWatch {
 public:
  // Loop thread: a global with its properties, and the id of one that went.
  using Added = std::function<void(std::uint32_t id, const char* type, const spa_dict& props)>;
  using Removed = std::function<void(std::uint32_t id)>;

  // Throws PipeWireFailure("PipeWire refused a registry").
  PipeWireRegistryWatch(PipeWireLoop& loop, Added added, Removed removed);
  // Stops as stop() does.
  ~PipeWireRegistryWatch();
  PipeWireRegistryWatch(const PipeWireRegistryWatch&) = delete;
  PipeWireRegistryWatch& operator=(const PipeWireRegistryWatch&) = delete;

  // No callback runs once it returns; a second call does nothing. Takes the loop lock.
  void stop();
  // Loop thread: to bind an object the registry announced.
  pw_registry* registry() const { return registry_; }
  // Loop thread: what a just-bound object sends first is waited for too.
  void syncAgain();
  // Until everything that existed at construction (and since syncAgain) has
  // arrived; false on time-out. Not from the loop thread.
  bool waitUntilSynced(double timeoutSeconds);

 private:
  static void onGlobal(void* data, uint32_t id, uint32_t permissions, const char* type, uint32_t version,
                       const spa_dict* props);
  static void onGlobalRemove(void* data, uint32_t id);
  static void onCoreDone(void* data, uint32_t id, int seq);

  PipeWireLoop& loop_;
  Added added_;
  Removed removed_;
  // Loop thread only (or under the loop lock).
  pw_registry* registry_ = nullptr;
  spa_hook registryListener_{};
  spa_hook coreListener_{};
  int pendingSeq_ = -1;

  std::mutex mutex_;
  std::condition_variable syncedChanged_;
  bool synced_ = false;
};

}  // namespace tavorin

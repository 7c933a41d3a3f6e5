#include "platform/pipewire/PipeWireRegistryWatch.h"

#include <pipewire/pipewire.h>

#include <chrono>

namespace tavorin {

PipeWireRegistryWatch::PipeWireRegistryWatch(PipeWireLoop& loop, Added added, Removed removed)
    : loop_(loop), added_(std::move(added)), removed_(std::move(removed)) {
  static const pw_registry_events registryEvents = [] {
    pw_registry_events e{};
    e.version = PW_VERSION_REGISTRY_EVENTS;
    e.global = &PipeWireRegistryWatch::onGlobal;
    e.global_remove = &PipeWireRegistryWatch::onGlobalRemove;
    return e;
  }();
  static const pw_core_events coreEvents = [] {
    pw_core_events e{};
    e.version = PW_VERSION_CORE_EVENTS;
    e.done = &PipeWireRegistryWatch::onCoreDone;
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

PipeWireRegistryWatch::~PipeWireRegistryWatch() { stop(); }

void PipeWireRegistryWatch::stop() {
  loop_.locked([&] {
    if (!registry_) return;
    spa_hook_remove(&registryListener_);
    spa_hook_remove(&coreListener_);
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
    registry_ = nullptr;
  });
}

void PipeWireRegistryWatch::syncAgain() { pendingSeq_ = pw_core_sync(loop_.core(), PW_ID_CORE, 0); }

bool PipeWireRegistryWatch::waitUntilSynced(double timeoutSeconds) {
  std::unique_lock lock(mutex_);
  return syncedChanged_.wait_for(lock, std::chrono::duration<double>(timeoutSeconds), [&] { return synced_; });
}

void PipeWireRegistryWatch::onGlobal(void* data, uint32_t id, uint32_t /*permissions*/, const char* type,
                                     uint32_t /*version*/, const spa_dict* props) {
  auto* self = static_cast<PipeWireRegistryWatch*>(data);
  if (type && props) self->added_(id, type, *props);
}

void PipeWireRegistryWatch::onGlobalRemove(void* data, uint32_t id) {
  static_cast<PipeWireRegistryWatch*>(data)->removed_(id);
}

void PipeWireRegistryWatch::onCoreDone(void* data, uint32_t id, int seq) {
  auto* self = static_cast<PipeWireRegistryWatch*>(data);
  if (id != PW_ID_CORE || seq != self->pendingSeq_) return;
  {
    std::lock_guard lock(self->mutex_);
    self->synced_ = true;
  }
  self->syncedChanged_.notify_all();
}

}  // namespace tavorin

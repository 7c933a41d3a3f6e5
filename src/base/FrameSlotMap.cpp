#include "base/FrameSlotMap.h"

#include <utility>

namespace tavorin {

// The old map is released after the lock: its last reference may free the
// last frame of a source that is gone, and that is no work for under a lock.

void FrameSlotMap::set(const std::string& id, std::shared_ptr<const FrameSlot> slot) {
  auto next = std::make_shared<Map>(*snapshot());
  (*next)[id] = std::move(slot);
  std::shared_ptr<const Map> previous;
  std::lock_guard guard(lock_);
  previous = std::exchange(slots_, std::move(next));
}

void FrameSlotMap::remove(const std::string& id) {
  auto next = std::make_shared<Map>(*snapshot());
  if (next->erase(id) == 0) return;
  std::shared_ptr<const Map> previous;
  std::lock_guard guard(lock_);
  previous = std::exchange(slots_, std::move(next));
}

std::shared_ptr<const FrameSlotMap::Map> FrameSlotMap::snapshot() const {
  std::lock_guard guard(lock_);
  return slots_;
}

FrameRef FrameSlotMap::latestFrame(const std::string& id) const {
  // The slot's own lock is taken after this one is released: the two never nest.
  const auto map = snapshot();
  auto it = map->find(id);
  if (it == map->end() || !it->second) return nullptr;
  return it->second->latest();
}

}  // namespace tavorin

#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "base/FrameSlot.h"

namespace tavorin {

// The frame clock's view of the show's sources: id to newest-frame slot,
// behind its own lock so the render thread reads while the main thread adds
// and removes. Changes copy the map and swap it in, so the clock's per-tick
// snapshot is one reference count and never an allocation.
class FrameSlotMap {
 public:
  using Map = std::map<std::string, std::shared_ptr<const FrameSlot>>;

  // Main thread only: a change copies the map and swaps it in.
  void set(const std::string& id, std::shared_ptr<const FrameSlot> slot);
  void remove(const std::string& id);
  // The whole map as it stands; the frame clock takes one per tick.
  std::shared_ptr<const Map> snapshot() const;
  bool contains(const std::string& id) const { return snapshot()->contains(id); }
  // The newest frame of the slot with that id; null without one.
  FrameRef latestFrame(const std::string& id) const;

 private:
  mutable std::mutex lock_;
  std::shared_ptr<const Map> slots_ = std::make_shared<const Map>();
};

}  // namespace tavorin

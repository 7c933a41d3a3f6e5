#pragma once

#include <mutex>
#include <optional>

#include "base/Frame.h"

namespace tavorin {

// The newest frame of one producer. The producer overwrites it from its own
// thread at its own rate; the frame clock reads it on every tick and never
// waits. The lock is held only for a copy or a swap of references.
class FrameSlot {
 public:
  // A retained copy of the newest frame; nothing before the first.
  std::optional<Frame> latest() const;
  // Wall-clock stamp (wallClockNow) of the last publish; 0 before the first.
  double lastPublishedAt() const;
  // Replaces the frame; copies no pixels. Any thread.
  void publish(Frame frame);

 private:
  mutable std::mutex lock_;
  std::optional<Frame> latest_;
  double lastPublishedAt_ = 0;
};

}  // namespace tavorin

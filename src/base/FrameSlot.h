#pragma once

#include <mutex>

#include "base/PixelBuffer.h"

namespace tavorin {

// The newest frame of one producer. The producer overwrites it from its own
// thread at its own rate; the frame clock reads it on every tick and never
// waits. The lock is held only for a copy or a swap of references.
class FrameSlot {
 public:
  // A retained reference to the newest frame; null before the first.
  FrameRef latest() const;
  // Wall-clock stamp (wallClockNow) of the last publish; 0 before the first.
  double lastPublishedAt() const;
  // Replaces the frame; copies no pixels. Any thread.
  void publish(FrameRef frame);

 private:
  mutable std::mutex lock_;
  FrameRef latest_;
  double lastPublishedAt_ = 0;
};

}  // namespace tavorin

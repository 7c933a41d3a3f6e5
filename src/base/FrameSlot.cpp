#include "base/FrameSlot.h"

#include <utility>

#include "base/HostTime.h"

namespace tavorin {

FrameRef FrameSlot::latest() const {
  std::lock_guard guard(lock_);
  return latest_;
}

double FrameSlot::lastPublishedAt() const {
  std::lock_guard guard(lock_);
  return lastPublishedAt_;
}

void FrameSlot::publish(FrameRef frame) {
  const double now = wallClockNow();
  FrameRef previous;
  {
    std::lock_guard guard(lock_);
    previous = std::exchange(latest_, std::move(frame));
    lastPublishedAt_ = now;
  }
  // `previous` lets go of its buffer here, outside the lock: handing it back
  // to a pool may take longer than the swap.
}

}  // namespace tavorin

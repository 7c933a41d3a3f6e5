#include "sources/BaseSource.h"

#include <utility>

#include "base/HostTime.h"
#include "base/PixelBuffer.h"

namespace tavorin {

BaseSource::BaseSource(std::string id, std::string displayName, SourceKind kind)
    : id_(std::move(id)), kind_(kind), displayName_(std::move(displayName)) {}

BaseSource::~BaseSource() = default;

std::optional<Frame> BaseSource::latestFrame() const {
  std::lock_guard guard(lock_);
  return latestFrame_;
}

double BaseSource::lastFrameAt() const {
  std::lock_guard guard(lock_);
  return lastFrameAt_;
}

void BaseSource::publish(Frame frame) {
  const double now = wallClockNow();
  Frame previous;
  {
    std::lock_guard guard(lock_);
    if (latestFrame_) {
      previous = std::exchange(*latestFrame_, std::move(frame));
    } else {
      latestFrame_ = std::move(frame);
    }
    lastFrameAt_ = now;
  }
  // `previous` lets go of its buffer here, outside the lock: handing it back
  // to a pool may take longer than the swap.
}

}  // namespace tavorin

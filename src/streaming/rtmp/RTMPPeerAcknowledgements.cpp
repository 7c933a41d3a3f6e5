#include "streaming/rtmp/RTMPPeerAcknowledgements.h"

namespace tavorin {

void RTMPPeerAcknowledgements::reset() {
  window_.store(0, std::memory_order_relaxed);
  acknowledged_.store(0, std::memory_order_relaxed);
  count_.store(0, std::memory_order_relaxed);
}

void RTMPPeerAcknowledgements::received(std::uint32_t totalBytesIn) {
  const std::uint64_t before = acknowledged_.load(std::memory_order_relaxed);
  // Unwrapped: the step from the last count, modulo 2^32.
  const std::uint32_t step = totalBytesIn - static_cast<std::uint32_t>(before);
  acknowledged_.store(before + step, std::memory_order_relaxed);
  count_.fetch_add(1, std::memory_order_release);
}

double RTMPPeerAcknowledgements::secondsOverdue(std::uint64_t bytesDelivered, double now) {
  const std::uint64_t window = window_.load(std::memory_order_relaxed);
  const bool judged = window > 0 && count_.load(std::memory_order_acquire) > 0;
  if (!judged || bytesDelivered <= acknowledged_.load(std::memory_order_relaxed) + 2 * window) {
    overdueSince_ = -1;
    return 0;
  }
  if (overdueSince_ < 0) overdueSince_ = now;
  return now - overdueSince_;
}

}  // namespace tavorin

#include "compositor/TickTimings.h"

#include <algorithm>

namespace tavorin {

std::vector<TickTimings::Tick> TickTimings::since(std::uint64_t from) const {
  const std::uint64_t end = count();
  from = std::max(from, end > kCapacity ? end - kCapacity : 0);
  std::vector<Tick> ticks;
  ticks.reserve(static_cast<std::size_t>(end - from));
  for (std::uint64_t n = from; n < end; ++n) {
    ticks.push_back({starts_[n % kCapacity].load(std::memory_order_relaxed),
                     lengths_[n % kCapacity].load(std::memory_order_relaxed)});
  }
  return ticks;
}

}  // namespace tavorin

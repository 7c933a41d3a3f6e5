#include "sources/rtsp/NalAccessUnits.h"

#include <algorithm>

namespace tavorin {

void NalAccessUnits::storeSet(std::optional<std::vector<std::uint8_t>>& slot, std::span<const std::uint8_t> set) {
  if (slot && std::equal(slot->begin(), slot->end(), set.begin(), set.end())) return;
  slot.emplace(set.begin(), set.end());
  configuration_.reset();
}

void NalAccessUnits::flush(const std::function<Configuration()>& makeConfiguration, std::uint32_t rtpTime) {
  if (accessUnit_.empty()) return;
  if (!configuration_) configuration_ = makeConfiguration();
  if (configuration_ && onAccessUnit) onAccessUnit(std::move(accessUnit_), configuration_, rtpTime);
  accessUnit_.clear();
}

}  // namespace tavorin

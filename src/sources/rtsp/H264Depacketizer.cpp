#include "sources/rtsp/H264Depacketizer.h"

#include "platform/media/AvcConfiguration.h"

namespace tavorin {

void H264Depacketizer::handleRTP(std::span<const std::uint8_t> packet) {
  if (packet.size() < 13 || (packet[0] >> 6) != 2) return;
  std::size_t header = 12 + 4 * std::size_t(packet[0] & 15);
  const bool marker = (packet[1] & 0x80) != 0;
  if (packet[0] & 0x10) {
    if (packet.size() < header + 4) return;
    header += 4 + 4 * ((std::size_t(packet[header + 2]) << 8) | packet[header + 3]);
  }
  if (header >= packet.size()) return;
  const auto payload = packet.subspan(header);
  const int type = payload[0] & 31;
  if (type >= 1 && type <= 23) {
    handleNAL(payload);
  } else if (type == 24) {
    std::size_t at = 1;
    while (at + 2 <= payload.size()) {
      const std::size_t size = (std::size_t(payload[at]) << 8) | payload[at + 1];
      at += 2;
      if (size == 0 || payload.size() - at < size) break;
      handleNAL(payload.subspan(at, size));
      at += size;
    }
  } else if (type == 28) {
    if (payload.size() <= 1) return;
    const std::uint8_t fu = payload[1];
    if (fu & 0x80) fuBuffer_.assign(1, static_cast<std::uint8_t>((payload[0] & 0xE0) | (fu & 0x1F)));
    // A fragment without its start is lost, and its marker with it.
    if (fuBuffer_.empty()) return;
    fuBuffer_.insert(fuBuffer_.end(), payload.begin() + 2, payload.end());
    if (fu & 0x40) {
      handleNAL(fuBuffer_);
      fuBuffer_.clear();
    }
  }
  if (marker) flush();
}

void H264Depacketizer::resetConnection() {
  fuBuffer_.clear();
  accessUnit_.clear();
}

void H264Depacketizer::setParameterSets(const std::optional<std::vector<std::uint8_t>>& sps,
                                        const std::optional<std::vector<std::uint8_t>>& pps) {
  if (sps) storeSet(sps_, *sps);
  if (pps) storeSet(pps_, *pps);
}

void H264Depacketizer::storeSet(std::optional<std::vector<std::uint8_t>>& slot, std::span<const std::uint8_t> set) {
  if (slot && std::equal(slot->begin(), slot->end(), set.begin(), set.end())) return;
  slot.emplace(set.begin(), set.end());
  configuration_.reset();
}

void H264Depacketizer::handleNAL(std::span<const std::uint8_t> nal) {
  if (nal.empty()) return;
  switch (nal[0] & 31) {
    case 9:
      return;  // access unit delimiter
    case 7:
      storeSet(sps_, nal);
      return;
    case 8:
      storeSet(pps_, nal);
      return;
    default:
      break;
  }
  const std::size_t size = nal.size();
  accessUnit_.push_back(static_cast<std::uint8_t>(size >> 24));
  accessUnit_.push_back(static_cast<std::uint8_t>(size >> 16));
  accessUnit_.push_back(static_cast<std::uint8_t>(size >> 8));
  accessUnit_.push_back(static_cast<std::uint8_t>(size));
  accessUnit_.insert(accessUnit_.end(), nal.begin(), nal.end());
}

void H264Depacketizer::flush() {
  if (accessUnit_.empty()) return;
  if (!configuration_ && sps_ && pps_) {
    std::vector<std::uint8_t> annexB{0, 0, 0, 1};
    annexB.insert(annexB.end(), sps_->begin(), sps_->end());
    annexB.insert(annexB.end(), {0, 0, 0, 1});
    annexB.insert(annexB.end(), pps_->begin(), pps_->end());
    if (auto record = avc::makeDecoderConfigurationRecord(annexB)) {
      configuration_ = std::make_shared<const std::vector<std::uint8_t>>(std::move(*record));
    }
  }
  // Pictures before the first parameter sets cannot be decoded.
  if (configuration_ && onAccessUnit) onAccessUnit(std::move(accessUnit_), configuration_);
  accessUnit_.clear();
}

}  // namespace tavorin

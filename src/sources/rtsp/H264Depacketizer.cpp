#include "sources/rtsp/H264Depacketizer.h"

#include "platform/media/AvcConfiguration.h"
#include "sources/rtsp/RTPPacket.h"

namespace tavorin {

void H264Depacketizer::handleRTP(std::span<const std::uint8_t> packet) {
  const auto rtp = rtpPayload(packet);
  if (!rtp) return;
  const auto payload = rtp->payload;
  const bool marker = rtp->marker;
  const int type = payload[0] & 31;
  if (type >= 1 && type <= 23) {
    handleNAL(payload);
  } else if (type == 24) {
    forEachAggregated(payload, 1, [this](auto nal) { handleNAL(nal); });
  } else if (type == 28) {
    if (payload.size() <= 1) return;
    const std::uint8_t fu = payload[1];
    const std::uint8_t header[] = {static_cast<std::uint8_t>((payload[0] & 0xE0) | (fu & 0x1F))};
    if (!addFragment(fu & 0x80, fu & 0x40, header, payload.subspan(2), [this](auto nal) { handleNAL(nal); })) return;
  }
  if (marker) {
    flush([this]() -> Configuration {
      if (!sps_ || !pps_) return nullptr;
      std::vector<std::uint8_t> annexB{0, 0, 0, 1};
      annexB.insert(annexB.end(), sps_->begin(), sps_->end());
      annexB.insert(annexB.end(), {0, 0, 0, 1});
      annexB.insert(annexB.end(), pps_->begin(), pps_->end());
      auto record = avc::makeDecoderConfigurationRecord(annexB);
      if (!record) return nullptr;
      return std::make_shared<const StreamVideoFormat>(StreamVideoFormat{StreamVideoFormat::Codec::h264, std::move(*record)});
    }, rtp->timestamp);
  }
}

void H264Depacketizer::setParameterSets(const std::optional<std::vector<std::uint8_t>>& sps,
                                        const std::optional<std::vector<std::uint8_t>>& pps) {
  if (sps) storeSet(sps_, *sps);
  if (pps) storeSet(pps_, *pps);
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

}  // namespace tavorin

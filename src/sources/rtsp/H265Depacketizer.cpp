#include "sources/rtsp/H265Depacketizer.h"

#include <algorithm>

#include "sources/rtsp/RTPPacket.h"

namespace tavorin {

namespace {

constexpr int kAggregation = 48, kFragment = 49;
constexpr int kVPS = 32, kSPS = 33, kPPS = 34, kDelimiter = 35;

int nalType(std::span<const std::uint8_t> nal) { return (nal[0] >> 1) & 0x3F; }

void appendAnnexB(std::vector<std::uint8_t>& out, std::span<const std::uint8_t> nal) {
  out.insert(out.end(), {0, 0, 0, 1});
  out.insert(out.end(), nal.begin(), nal.end());
}

}  // namespace

void H265Depacketizer::handleRTP(std::span<const std::uint8_t> packet) {
  const auto rtp = rtpPayload(packet);
  if (!rtp || rtp->payload.size() < 2) return;
  const auto payload = rtp->payload;
  const int type = nalType(payload);
  if (type < kAggregation) {
    handleNAL(payload);
  } else if (type == kAggregation) {
    forEachAggregated(payload, 2, [this](auto nal) { handleNAL(nal); });
  } else if (type == kFragment) {
    if (payload.size() <= 3) return;
    const std::uint8_t fu = payload[2];
    const std::uint8_t header[] = {static_cast<std::uint8_t>((payload[0] & 0x81) | ((fu & 0x3F) << 1)), payload[1]};
    if (!addFragment(fu & 0x80, fu & 0x40, header, payload.subspan(3), [this](auto nal) { handleNAL(nal); })) return;
  }
  if (rtp->marker) {
    flush([this]() -> Configuration {
      if (!vps_ || !sps_ || !pps_) return nullptr;
      StreamVideoFormat format{StreamVideoFormat::Codec::h265, {}};
      for (const auto* set : {&*vps_, &*sps_, &*pps_}) appendAnnexB(format.extradata, *set);
      return std::make_shared<const StreamVideoFormat>(std::move(format));
    }, rtp->timestamp);
  }
}

void H265Depacketizer::setParameterSets(const std::optional<std::vector<std::uint8_t>>& vps,
                                        const std::optional<std::vector<std::uint8_t>>& sps,
                                        const std::optional<std::vector<std::uint8_t>>& pps) {
  if (vps) storeSet(vps_, *vps);
  if (sps) storeSet(sps_, *sps);
  if (pps) storeSet(pps_, *pps);
}

void H265Depacketizer::handleNAL(std::span<const std::uint8_t> nal) {
  if (nal.size() < 2) return;
  switch (nalType(nal)) {
    case kDelimiter:
      return;
    case kVPS:
      storeSet(vps_, nal);
      return;
    case kSPS:
      storeSet(sps_, nal);
      return;
    case kPPS:
      storeSet(pps_, nal);
      return;
    default:
      appendAnnexB(accessUnit_, nal);
  }
}

}  // namespace tavorin

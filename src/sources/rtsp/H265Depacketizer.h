#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "sources/rtsp/NalAccessUnits.h"

namespace tavorin {

// Rebuilds H.265 access units from RTP packets (RFC 7798: single NAL units,
// aggregation packets, fragmentation units) the way H264Depacketizer does
// for H.264. Units come out in Annex B, with the VPS, SPS and PPS in Annex B
// as the decoder's configuration.
class H265Depacketizer : public NalAccessUnits {
 public:
  void handleRTP(std::span<const std::uint8_t> packet);
  void setParameterSets(const std::optional<std::vector<std::uint8_t>>& vps,
                        const std::optional<std::vector<std::uint8_t>>& sps,
                        const std::optional<std::vector<std::uint8_t>>& pps);

 private:
  void handleNAL(std::span<const std::uint8_t> nal);

  std::optional<std::vector<std::uint8_t>> vps_, sps_, pps_;
};

}  // namespace tavorin

#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "sources/rtsp/NalAccessUnits.h"

namespace tavorin {

// Rebuilds H.264 access units from RTP packets (RFC 6184: single NAL units,
// STAP-A, FU-A) as they arrive: no reordering and no loss detection beyond
// a fragment whose start never came. Units are length-prefixed NAL units;
// the configuration is an AVC configuration record of the SDP's or the
// stream's own parameter sets.
class H264Depacketizer : public NalAccessUnits {
 public:
  void handleRTP(std::span<const std::uint8_t> packet);
  // The SDP's parameter sets; equal ones change nothing.
  void setParameterSets(const std::optional<std::vector<std::uint8_t>>& sps,
                        const std::optional<std::vector<std::uint8_t>>& pps);

 private:
  void handleNAL(std::span<const std::uint8_t> nal);

  std::optional<std::vector<std::uint8_t>> sps_, pps_;
};

}  // namespace tavorin

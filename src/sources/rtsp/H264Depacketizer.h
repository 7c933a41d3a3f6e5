#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace tavorin {

// Rebuilds H.264 access units from RTP packets (RFC 6184: single NAL units,
// STAP-A, FU-A) as they arrive: no reordering and no loss detection beyond
// a fragment whose start never came. Parameter sets are kept apart, from the
// SDP or in-band, and the decoder's configuration record is remade when
// they change. One thread uses it.
class H264Depacketizer {
 public:
  // The decoder's configuration (an AVC configuration record); a new object
  // whenever the parameter sets changed, so a decoder compares pointers.
  using Configuration = std::shared_ptr<const std::vector<std::uint8_t>>;
  // One access unit, each NAL unit behind a 4-byte big-endian length.
  std::function<void(std::vector<std::uint8_t> accessUnit, const Configuration& configuration)> onAccessUnit;

  void handleRTP(std::span<const std::uint8_t> packet);
  // A new connection: fragments and a half-built access unit are dropped;
  // parameter sets and the configuration stay.
  void resetConnection();
  // The SDP's parameter sets; equal ones change nothing.
  void setParameterSets(const std::optional<std::vector<std::uint8_t>>& sps,
                        const std::optional<std::vector<std::uint8_t>>& pps);
  const Configuration& configuration() const { return configuration_; }

 private:
  void handleNAL(std::span<const std::uint8_t> nal);
  void storeSet(std::optional<std::vector<std::uint8_t>>& slot, std::span<const std::uint8_t> set);
  void flush();

  std::vector<std::uint8_t> fuBuffer_;
  std::vector<std::uint8_t> accessUnit_;  // length-prefixed NAL units so far
  std::optional<std::vector<std::uint8_t>> sps_, pps_;
  Configuration configuration_;
};

}  // namespace tavorin

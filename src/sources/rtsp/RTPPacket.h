#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace tavorin {

// An RTP packet's payload and marker; nothing for a packet that is not RTP
// version 2 or has no payload past its header, CSRCs and extension. Padding,
// payload type, sequence number and SSRC are not looked at.
struct RTPPayload {
  std::span<const std::uint8_t> payload;
  bool marker = false;
  std::uint32_t timestamp = 0;
};

inline std::optional<RTPPayload> rtpPayload(std::span<const std::uint8_t> packet) {
  if (packet.size() < 13 || (packet[0] >> 6) != 2) return std::nullopt;
  std::size_t header = 12 + 4 * std::size_t(packet[0] & 15);
  if (packet[0] & 0x10) {
    if (packet.size() < header + 4) return std::nullopt;
    header += 4 + 4 * ((std::size_t(packet[header + 2]) << 8) | packet[header + 3]);
  }
  if (header >= packet.size()) return std::nullopt;
  const std::uint32_t timestamp = (std::uint32_t(packet[4]) << 24) | (std::uint32_t(packet[5]) << 16) |
                                  (std::uint32_t(packet[6]) << 8) | packet[7];
  return RTPPayload{packet.subspan(header), (packet[1] & 0x80) != 0, timestamp};
}

}  // namespace tavorin

#include "streaming/rtmp/RTMPHandshake.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace tavorin {
namespace {

void writeI32(std::vector<std::uint8_t>& out, std::int64_t value) {
  // Truncated to 32 bits: the field wraps rather than saturates.
  const auto bits = static_cast<std::uint32_t>(value);
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<std::uint8_t>(bits >> shift));
}

}  // namespace

std::vector<std::uint8_t> RTMPHandshake::c0c1packet() {
  std::vector<std::uint8_t> packet;
  packet.reserve(1 + kPacketSize);
  packet.push_back(kVersion);
  writeI32(packet, static_cast<std::int64_t>(timestamp));
  packet.insert(packet.end(), 4, 0);
  std::uniform_int_distribution<int> byte(0, 255);
  while (packet.size() < 1 + kPacketSize) packet.push_back(static_cast<std::uint8_t>(byte(random_)));
  return packet;
}

std::vector<std::uint8_t> RTMPHandshake::c2packet(double now) {
  if (inputBuffer_.size() < 1 + kPacketSize) throw std::logic_error("C2 before S0+S1 arrived");
  std::vector<std::uint8_t> packet;
  packet.reserve(kPacketSize);
  const auto s1 = inputBuffer_.begin() + 1;
  packet.insert(packet.end(), s1, s1 + 4);
  writeI32(packet, static_cast<std::int64_t>(std::trunc(now - timestamp)));
  packet.insert(packet.end(), s1 + 8, s1 + static_cast<std::ptrdiff_t>(kPacketSize));
  inputBuffer_.erase(inputBuffer_.begin(), s1 + static_cast<std::ptrdiff_t>(kPacketSize));
  return packet;
}

}  // namespace tavorin

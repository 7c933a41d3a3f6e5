#include "streaming/rtmp/RTMPControlMessage.h"

namespace tavorin {
namespace {

void writeU32(std::vector<std::uint8_t>& out, std::uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<std::uint8_t>(value >> shift));
}

std::uint32_t readU32(const std::vector<std::uint8_t>& bytes, std::size_t at) {
  return (std::uint32_t{bytes[at]} << 24) | (std::uint32_t{bytes[at + 1]} << 16) |
         (std::uint32_t{bytes[at + 2]} << 8) | bytes[at + 3];
}

RTMPMessage valueMessage(RTMPMessageType type, std::uint32_t value) {
  RTMPMessage message{type, 0, 0, {}};
  writeU32(message.payload, value);
  return message;
}

}  // namespace

RTMPMessage makeSetChunkSizeMessage(std::uint32_t size) { return valueMessage(RTMPMessageType::chunkSize, size); }

RTMPMessage makeWindowAcknowledgementSizeMessage(std::uint32_t size) {
  return valueMessage(RTMPMessageType::windowAck, size);
}

RTMPMessage makeAcknowledgementMessage(std::uint32_t totalBytesIn) {
  return valueMessage(RTMPMessageType::ack, totalBytesIn);
}

RTMPMessage makePongMessage(std::uint32_t pingValue) {
  RTMPMessage message{RTMPMessageType::user, 0, 0, {0x00, static_cast<std::uint8_t>(RTMPUserControlEventType::pong)}};
  writeU32(message.payload, pingValue);
  return message;
}

std::optional<std::uint32_t> controlMessageValue(const RTMPMessage& message) {
  switch (message.type) {
    case RTMPMessageType::chunkSize:
    case RTMPMessageType::ack:
    case RTMPMessageType::windowAck:
    case RTMPMessageType::bandwidth:
      break;
    default:
      return std::nullopt;
  }
  if (message.payload.size() < 4) return std::nullopt;
  return readU32(message.payload, 0);
}

std::optional<RTMPUserControlEvent> userControlEvent(const RTMPMessage& message) {
  if (message.type != RTMPMessageType::user || message.payload.size() < 6) return std::nullopt;
  const auto type = static_cast<std::uint16_t>((message.payload[0] << 8) | message.payload[1]);
  return RTMPUserControlEvent{type, readU32(message.payload, 2)};
}

}  // namespace tavorin

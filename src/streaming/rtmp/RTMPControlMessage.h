#pragma once

#include <cstdint>
#include <optional>

#include "streaming/rtmp/RTMPMessage.h"

namespace tavorin {

// Protocol control messages: bodies big-endian, message stream 0, timestamp
// 0, sent on the control chunk stream.
RTMPMessage makeSetChunkSizeMessage(std::uint32_t size);
RTMPMessage makeWindowAcknowledgementSizeMessage(std::uint32_t size);
RTMPMessage makeAcknowledgementMessage(std::uint32_t totalBytesIn);
RTMPMessage makePongMessage(std::uint32_t pingValue);

// The 4-byte value that opens the body of a chunk size, acknowledgement,
// window or peer bandwidth message; nothing for other types or short bodies.
std::optional<std::uint32_t> controlMessageValue(const RTMPMessage& message);

enum class RTMPUserControlEventType : std::uint16_t {
  streamBegin = 0,
  streamEof = 1,
  streamDry = 2,
  setBuffer = 3,
  recorded = 4,
  ping = 6,
  pong = 7,
  bufferEmpty = 31,
  bufferFull = 32,
};

struct RTMPUserControlEvent {
  std::uint16_t type = 0;  // an RTMPUserControlEventType, or a code this client does not know
  std::uint32_t value = 0;  // stream id, or the time of a ping

  bool operator==(const RTMPUserControlEvent&) const = default;
};

// Nothing unless the message is a user control message with a whole event.
std::optional<RTMPUserControlEvent> userControlEvent(const RTMPMessage& message);

}  // namespace tavorin

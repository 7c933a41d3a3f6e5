#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "streaming/rtmp/RTMPMessage.h"

namespace tavorin {

// Receive-side assembly state of one chunk stream: the last header fields
// read on it and the message body gathered so far.
struct RTMPChunkMessageHeader {
  // As read: the delta of a type 1 or 2 chunk is not added up.
  std::uint32_t timestamp = 0;
  std::uint32_t messageLength = 0;
  std::uint8_t messageTypeId = 0;
  std::uint32_t messageStreamId = 0;
  // The last header on this stream carried 0xFFFFFF, so its type 3 chunks
  // carry the 4-byte extended timestamp too.
  bool extendedTimestamp = false;
  // Grows as chunks arrive rather than being allocated at messageLength, so
  // a peer that announces big messages and sends nothing costs nothing.
  std::vector<std::uint8_t> payload;

  std::size_t position() const { return payload.size(); }

  // A new length starts the message over; the same length continues it.
  void setMessageLength(std::uint32_t length) {
    if (length == messageLength) return;
    messageLength = length;
    payload.clear();
  }

  std::size_t missing() const { return messageLength - payload.size(); }

  void append(std::span<const std::uint8_t> bytes) { payload.insert(payload.end(), bytes.begin(), bytes.end()); }

  // The message once its body is whole, which also clears the body for the
  // next one. Nothing while bytes are missing, or for an unknown type id.
  std::optional<RTMPMessage> makeMessage() {
    if (payload.size() < messageLength) return std::nullopt;
    std::vector<std::uint8_t> body = std::move(payload);
    payload.clear();
    if (!isKnownMessageType(messageTypeId)) return std::nullopt;
    return RTMPMessage{static_cast<RTMPMessageType>(messageTypeId), messageStreamId, timestamp, std::move(body)};
  }

  bool operator==(const RTMPChunkMessageHeader&) const = default;
};

}  // namespace tavorin

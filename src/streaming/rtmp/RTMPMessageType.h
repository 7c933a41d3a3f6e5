#pragma once

#include <cstdint>

namespace tavorin {

enum class RTMPMessageType : std::uint8_t {
  chunkSize = 1,
  abort = 2,
  ack = 3,
  user = 4,
  windowAck = 5,
  bandwidth = 6,
  audio = 8,
  video = 9,
  amf3Data = 15,
  amf3Shared = 16,
  amf3Command = 17,
  amf0Data = 18,
  amf0Shared = 19,
  amf0Command = 20,
  aggregate = 22,
};

constexpr bool isKnownMessageType(std::uint8_t id) {
  return (id >= 1 && id <= 6) || id == 8 || id == 9 || (id >= 15 && id <= 20) || id == 22;
}

}  // namespace tavorin

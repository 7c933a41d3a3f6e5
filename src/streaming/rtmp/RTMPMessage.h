#pragma once

#include <cstdint>
#include <vector>

#include "streaming/rtmp/RTMPMessageType.h"

namespace tavorin {

// One whole message of the chunk stream; what its body means is up to the
// message type.
struct RTMPMessage {
  RTMPMessageType type = RTMPMessageType::amf0Command;
  std::uint32_t streamId = 0;
  std::uint32_t timestamp = 0;
  std::vector<std::uint8_t> payload;

  bool operator==(const RTMPMessage&) const = default;
};

}  // namespace tavorin

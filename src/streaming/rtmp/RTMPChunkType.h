#pragma once

#include <cstddef>
#include <cstdint>

namespace tavorin {

// How much of the previous message header of its chunk stream a chunk repeats.
enum class RTMPChunkType : std::uint8_t { zero = 0, one = 1, two = 2, three = 3 };

// Bytes of message header behind the basic header, extended timestamp aside.
constexpr std::size_t messageHeaderSize(RTMPChunkType type) {
  switch (type) {
    case RTMPChunkType::zero:
      return 11;
    case RTMPChunkType::one:
      return 7;
    case RTMPChunkType::two:
      return 3;
    case RTMPChunkType::three:
      return 0;
  }
  return 0;
}

// The chunk streams this client sends on.
enum class RTMPChunkStreamId : std::uint32_t { control = 2, command = 3, audio = 4, video = 5, data = 8 };

}  // namespace tavorin

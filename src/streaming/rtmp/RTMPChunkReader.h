#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include "streaming/rtmp/RTMPChunkBuffer.h"
#include "streaming/rtmp/RTMPChunkMessageHeader.h"
#include "streaming/rtmp/RTMPMessage.h"

namespace tavorin {

// Turns received bytes into whole messages, however the chunks of several
// chunk streams interleave and wherever the blocks happen to split them.
// A Set Chunk Size message takes effect at once, before the chunks behind
// it in the same block are read.
class RTMPChunkReader {
 public:
  // The largest chunk size the protocol allows: the top bit must be clear.
  static constexpr std::uint32_t kMaxChunkSize = 0x7FFFFFFF;

  // The messages completed by these bytes, in arrival order. Throws
  // RTMPChunkError::invalidChunkSize when the peer's chunk size is 0, above
  // the maximum or its body too short; the stream cannot be read past that.
  std::vector<RTMPMessage> read(std::span<const std::uint8_t> bytes);

  std::uint32_t chunkSize() const { return buffer_.chunkSize(); }

  // For a new connection: chunk size 128, no chunk stream state, no bytes.
  void reset();

 private:
  RTMPChunkBuffer buffer_;
  std::map<std::uint32_t, RTMPChunkMessageHeader> chunks_;
};

}  // namespace tavorin

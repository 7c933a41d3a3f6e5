#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "streaming/rtmp/RTMPChunkError.h"
#include "streaming/rtmp/RTMPChunkMessageHeader.h"
#include "streaming/rtmp/RTMPChunkType.h"
#include "streaming/rtmp/RTMPMessage.h"

namespace tavorin {

struct RTMPBasicHeader {
  RTMPChunkType chunkType = RTMPChunkType::zero;
  std::uint32_t chunkStreamId = 0;

  bool operator==(const RTMPBasicHeader&) const = default;
};

// The byte area of one direction of the chunk stream. Input: put() appends
// received bytes and the get… calls read one chunk piece by piece, throwing
// RTMPChunkError::bufferUnderflow without consuming anything when a piece is
// incomplete. Output: putMessage() cuts a message into chunks.
class RTMPChunkBuffer {
 public:
  static constexpr std::uint32_t kDefaultChunkSize = 128;
  static constexpr std::uint32_t kMaxTimestamp = 0xFFFFFF;

  std::uint32_t chunkSize() const { return chunkSize_; }
  void setChunkSize(std::uint32_t size) { chunkSize_ = size; }

  std::size_t position() const { return position_; }
  void setPosition(std::size_t position) { position_ = position; }
  std::size_t length() const { return data_.size(); }
  bool hasRemaining() const { return position_ < data_.size(); }

  // Drops what was read, appends the bytes and rewinds to the first unread.
  void put(std::span<const std::uint8_t> bytes);

  RTMPBasicHeader getBasicHeader();
  // Reads the message header of this chunk type, and the extended timestamp
  // when there is one, into the chunk stream's header.
  void getMessageHeader(RTMPChunkType chunkType, RTMPChunkMessageHeader& header);
  // Appends the body bytes of this chunk: what the message still misses, at
  // most a chunk size. Taken whole or not at all.
  void getChunkBody(RTMPChunkMessageHeader& header);

  // The chunks of one message in send order; none for an empty payload.
  // Timestamps are cut to 24 bits: media carries deltas, so a running
  // stream never needs the extended form. The payload must be shorter than
  // 16 MiB and the chunk stream id between 2 and 65599.
  std::vector<std::vector<std::uint8_t>> putMessage(RTMPChunkType chunkType, std::uint32_t chunkStreamId,
                                                    const RTMPMessage& message) const;

 private:
  const std::uint8_t* require(std::size_t count) const;

  std::uint32_t chunkSize_ = kDefaultChunkSize;
  std::size_t position_ = 0;
  std::vector<std::uint8_t> data_;
};

}  // namespace tavorin

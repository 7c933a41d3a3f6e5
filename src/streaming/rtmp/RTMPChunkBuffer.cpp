#include "streaming/rtmp/RTMPChunkBuffer.h"

#include <algorithm>
#include <stdexcept>

namespace tavorin {
namespace {

std::uint32_t readU24(const std::uint8_t* b) { return (std::uint32_t{b[0]} << 16) | (std::uint32_t{b[1]} << 8) | b[2]; }

std::uint32_t readU32(const std::uint8_t* b) { return (std::uint32_t{b[0]} << 24) | readU24(b + 1); }

void writeU24(std::vector<std::uint8_t>& out, std::uint32_t value) {
  out.push_back(static_cast<std::uint8_t>(value >> 16));
  out.push_back(static_cast<std::uint8_t>(value >> 8));
  out.push_back(static_cast<std::uint8_t>(value));
}

void writeBasicHeader(std::vector<std::uint8_t>& out, RTMPChunkType chunkType, std::uint32_t chunkStreamId) {
  const auto type = static_cast<std::uint8_t>(static_cast<std::uint8_t>(chunkType) << 6);
  if (chunkStreamId <= 63) {
    out.push_back(static_cast<std::uint8_t>(type | chunkStreamId));
  } else if (chunkStreamId <= 319) {
    out.push_back(type);
    out.push_back(static_cast<std::uint8_t>(chunkStreamId - 64));
  } else {
    const std::uint32_t id = chunkStreamId - 64;
    out.push_back(static_cast<std::uint8_t>(type | 1));
    out.push_back(static_cast<std::uint8_t>(id));
    out.push_back(static_cast<std::uint8_t>(id >> 8));
  }
}

}  // namespace

void RTMPChunkBuffer::put(std::span<const std::uint8_t> bytes) {
  data_.erase(data_.begin(), data_.begin() + static_cast<std::ptrdiff_t>(position_));
  data_.insert(data_.end(), bytes.begin(), bytes.end());
  position_ = 0;
}

const std::uint8_t* RTMPChunkBuffer::require(std::size_t count) const {
  if (count > data_.size() - position_) throw RTMPChunkError::bufferUnderflow();
  return data_.data() + position_;
}

RTMPBasicHeader RTMPChunkBuffer::getBasicHeader() {
  const std::uint8_t* b = require(1);
  RTMPBasicHeader header{static_cast<RTMPChunkType>(b[0] >> 6), b[0] & 0x3Fu};
  switch (header.chunkStreamId) {
    case 0:
      b = require(2);
      header.chunkStreamId = b[1] + 64u;
      position_ += 2;
      break;
    case 1:
      b = require(3);
      header.chunkStreamId = b[1] + 256u * b[2] + 64u;
      position_ += 3;
      break;
    default:
      position_ += 1;
      break;
  }
  return header;
}

void RTMPChunkBuffer::getMessageHeader(RTMPChunkType chunkType, RTMPChunkMessageHeader& header) {
  const std::size_t size = messageHeaderSize(chunkType);
  const std::uint8_t* b = require(size);
  bool extended = header.extendedTimestamp;
  if (chunkType != RTMPChunkType::three) extended = readU24(b) == kMaxTimestamp;
  const std::size_t total = size + (extended ? 4 : 0);
  b = require(total);

  // Everything is in hand: only now does the header change, so an underflow
  // leaves it as it was for the retry.
  if (chunkType != RTMPChunkType::three) header.timestamp = readU24(b);
  if (chunkType == RTMPChunkType::zero || chunkType == RTMPChunkType::one) {
    header.setMessageLength(readU24(b + 3));
    header.messageTypeId = b[6];
  }
  if (chunkType == RTMPChunkType::zero) {
    header.messageStreamId =
        std::uint32_t{b[7]} | (std::uint32_t{b[8]} << 8) | (std::uint32_t{b[9]} << 16) | (std::uint32_t{b[10]} << 24);
  }
  header.extendedTimestamp = extended;
  if (extended) header.timestamp = readU32(b + size);
  position_ += total;
}

void RTMPChunkBuffer::getChunkBody(RTMPChunkMessageHeader& header) {
  const std::size_t count = std::min<std::size_t>(header.missing(), chunkSize_);
  const std::uint8_t* b = require(count);
  header.append({b, count});
  position_ += count;
}

std::vector<std::vector<std::uint8_t>> RTMPChunkBuffer::putMessage(RTMPChunkType chunkType,
                                                                   std::uint32_t chunkStreamId,
                                                                   const RTMPMessage& message) const {
  const std::size_t size = message.payload.size();
  if (size > 0xFFFFFF) throw std::length_error("RTMP message payload of " + std::to_string(size) + " bytes");

  std::vector<std::vector<std::uint8_t>> chunks;
  std::size_t offset = 0;
  while (offset < size) {
    const std::size_t count = std::min<std::size_t>(size - offset, chunkSize_);
    std::vector<std::uint8_t> chunk;
    chunk.reserve(3 + 11 + count);
    if (offset == 0) {
      writeBasicHeader(chunk, chunkType, chunkStreamId);
      if (chunkType != RTMPChunkType::three) writeU24(chunk, message.timestamp & kMaxTimestamp);
      if (chunkType == RTMPChunkType::zero || chunkType == RTMPChunkType::one) {
        writeU24(chunk, static_cast<std::uint32_t>(size));
        chunk.push_back(static_cast<std::uint8_t>(message.type));
      }
      if (chunkType == RTMPChunkType::zero) {
        for (int shift = 0; shift < 32; shift += 8) chunk.push_back(static_cast<std::uint8_t>(message.streamId >> shift));
      }
    } else {
      writeBasicHeader(chunk, RTMPChunkType::three, chunkStreamId);
    }
    const auto first = message.payload.begin() + static_cast<std::ptrdiff_t>(offset);
    chunk.insert(chunk.end(), first, first + static_cast<std::ptrdiff_t>(count));
    chunks.push_back(std::move(chunk));
    offset += count;
  }
  return chunks;
}

}  // namespace tavorin

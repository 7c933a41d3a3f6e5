#include "streaming/rtmp/RTMPChunkReader.h"

#include "streaming/rtmp/RTMPControlMessage.h"

namespace tavorin {

std::vector<RTMPMessage> RTMPChunkReader::read(std::span<const std::uint8_t> bytes) {
  buffer_.put(bytes);
  std::vector<RTMPMessage> messages;
  while (buffer_.hasRemaining()) {
    const std::size_t start = buffer_.position();
    try {
      const RTMPBasicHeader basic = buffer_.getBasicHeader();
      RTMPChunkMessageHeader& header = chunks_[basic.chunkStreamId];
      buffer_.getMessageHeader(basic.chunkType, header);
      buffer_.getChunkBody(header);
      std::optional<RTMPMessage> message = header.makeMessage();
      if (!message) continue;
      if (message->type == RTMPMessageType::chunkSize) {
        const std::uint32_t size = controlMessageValue(*message).value_or(0);
        if (size == 0 || size > kMaxChunkSize) throw RTMPChunkError::invalidChunkSize(size);
        buffer_.setChunkSize(size);
      }
      messages.push_back(std::move(*message));
    } catch (const RTMPChunkError& error) {
      if (error.kind() != RTMPChunkError::Kind::bufferUnderflow) throw;
      // The chunk is read again from its start once more bytes came.
      buffer_.setPosition(start);
      break;
    }
  }
  return messages;
}

void RTMPChunkReader::reset() {
  buffer_ = RTMPChunkBuffer();
  chunks_.clear();
}

}  // namespace tavorin

// The receive side of the chunk stream on hostile bytes. The input's first
// four bytes set a starting chunk size (sent as a Set Chunk Size message in
// front), the fifth seeds where the rest is split into blocks. However the
// blocks fall, the reader must give the same messages as for one block, and
// the messages must survive being chunked again and read back.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <span>
#include <vector>

#include "streaming/rtmp/RTMPChunkBuffer.h"
#include "streaming/rtmp/RTMPChunkReader.h"
#include "streaming/rtmp/RTMPControlMessage.h"

namespace {

using namespace tavorin;
using Bytes = std::vector<std::uint8_t>;

struct Outcome {
  std::vector<RTMPMessage> messages;
  bool failed = false;
};

Bytes chunked(const RTMPMessage& message, std::uint32_t chunkSize, std::uint32_t chunkStreamId) {
  RTMPChunkBuffer writer;
  writer.setChunkSize(chunkSize);
  Bytes out;
  for (const auto& chunk : writer.putMessage(RTMPChunkType::zero, chunkStreamId, message)) {
    out.insert(out.end(), chunk.begin(), chunk.end());
  }
  return out;
}

Bytes setChunkSize(std::uint32_t size) {
  return chunked(makeSetChunkSizeMessage(size), RTMPChunkBuffer::kDefaultChunkSize, 2);
}

Outcome readInBlocks(std::span<const std::uint8_t> stream, std::uint32_t seed) {
  RTMPChunkReader reader;
  Outcome outcome;
  std::size_t at = 0;
  while (at < stream.size()) {
    std::size_t length = stream.size() - at;
    if (seed != 0) {
      seed = seed * 1103515245u + 12345u;
      length = std::min<std::size_t>(length, 1 + (seed >> 16) % 300);
    }
    try {
      for (auto& message : reader.read(stream.subspan(at, length))) outcome.messages.push_back(std::move(message));
    } catch (const RTMPChunkError& error) {
      if (error.kind() != RTMPChunkError::Kind::invalidChunkSize) std::abort();
      outcome.failed = true;
      return outcome;
    }
    at += length;
  }
  return outcome;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 5) return 0;
  // Small sizes are the interesting ones; the largest legal value is still reachable.
  std::uint32_t chunkSize = (std::uint32_t{data[0]} << 24) | (std::uint32_t{data[1]} << 16) |
                            (std::uint32_t{data[2]} << 8) | data[3];
  if (chunkSize != RTMPChunkReader::kMaxChunkSize) chunkSize = chunkSize % 1024;
  const std::uint32_t seed = data[4];

  Bytes stream;
  if (chunkSize != 0) stream = setChunkSize(chunkSize);
  stream.insert(stream.end(), data + 5, data + size);

  const Outcome whole = readInBlocks(stream, 0);
  const Outcome split = readInBlocks(stream, seed | 0x100);
  if (whole.failed != split.failed) std::abort();
  if (!whole.failed && whole.messages != split.messages) std::abort();
  if (whole.failed) return 0;

  // Written again at a chunk size of our own, every message reads back as it was,
  // its timestamp cut to the 24 bits the writer keeps.
  const std::uint32_t writeSize = 1 + seed * 3;
  Bytes again = setChunkSize(writeSize);
  std::vector<RTMPMessage> expected;
  for (const auto& message : whole.messages) {
    if (message.type == RTMPMessageType::chunkSize || message.payload.empty()) continue;
    RTMPMessage trimmed = message;
    trimmed.timestamp &= RTMPChunkBuffer::kMaxTimestamp;
    // 0xFFFFFF itself would announce an extended timestamp that the writer never sends.
    if (trimmed.timestamp == RTMPChunkBuffer::kMaxTimestamp) continue;
    const Bytes bytes = chunked(trimmed, writeSize, 3 + static_cast<std::uint32_t>(expected.size() % 400));
    again.insert(again.end(), bytes.begin(), bytes.end());
    expected.push_back(std::move(trimmed));
  }
  const Outcome reread = readInBlocks(again, seed);
  if (reread.failed || reread.messages.size() != expected.size() + 1) std::abort();
  for (std::size_t i = 0; i < expected.size(); ++i) {
    if (reread.messages[i + 1] != expected[i]) std::abort();
  }
  return 0;
}

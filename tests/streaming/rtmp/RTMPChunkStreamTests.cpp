#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "streaming/rtmp/RTMPChunkBuffer.h"
#include "streaming/rtmp/RTMPChunkReader.h"
#include "streaming/rtmp/RTMPControlMessage.h"

namespace tavorin {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes flatten(const std::vector<Bytes>& chunks) {
  Bytes out;
  for (const Bytes& chunk : chunks) out.insert(out.end(), chunk.begin(), chunk.end());
  return out;
}

Bytes pattern(std::size_t size, std::uint32_t seed) {
  std::mt19937 random(seed);
  Bytes out(size);
  for (auto& b : out) b = static_cast<std::uint8_t>(random());
  return out;
}

// Feeds the bytes in blocks of the given size, as a socket might deliver them.
std::vector<RTMPMessage> readInBlocks(RTMPChunkReader& reader, const Bytes& bytes, std::size_t blockSize) {
  std::vector<RTMPMessage> messages;
  for (std::size_t offset = 0; offset < bytes.size(); offset += blockSize) {
    const std::size_t count = std::min(blockSize, bytes.size() - offset);
    for (RTMPMessage& m : reader.read(std::span(bytes).subspan(offset, count))) messages.push_back(std::move(m));
  }
  return messages;
}

TEST(RTMPChunkBuffer, SmallMessageHasExactBytes) {
  const RTMPChunkBuffer output;
  EXPECT_EQ(output.putMessage(RTMPChunkType::zero, 2, makeSetChunkSizeMessage(4096)),
            (std::vector<Bytes>{{0x02, 0x00, 0x00, 0x00, 0x00, 0x00, 0x04, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                                 0x10, 0x00}}));

  // Type 1: no stream id; the stream id of a type 0 goes little-endian.
  const RTMPMessage audio{RTMPMessageType::audio, 0x01020304, 0x0A0B0C, {0xAF}};
  EXPECT_EQ(output.putMessage(RTMPChunkType::one, 4, audio),
            (std::vector<Bytes>{{0x44, 0x0A, 0x0B, 0x0C, 0x00, 0x00, 0x01, 0x08, 0xAF}}));
  EXPECT_EQ(output.putMessage(RTMPChunkType::zero, 4, audio),
            (std::vector<Bytes>{{0x04, 0x0A, 0x0B, 0x0C, 0x00, 0x00, 0x01, 0x08, 0x04, 0x03, 0x02, 0x01, 0xAF}}));
  EXPECT_EQ(output.putMessage(RTMPChunkType::two, 4, audio), (std::vector<Bytes>{{0x84, 0x0A, 0x0B, 0x0C, 0xAF}}));
}

TEST(RTMPChunkBuffer, BasicHeaderTakesOneTwoOrThreeBytes) {
  const RTMPChunkBuffer output;
  const RTMPMessage message{RTMPMessageType::video, 0, 0, {0x55}};
  auto head = [&](std::uint32_t id) {
    const Bytes chunk = output.putMessage(RTMPChunkType::three, id, message).at(0);
    return Bytes(chunk.begin(), chunk.end() - 1);
  };
  EXPECT_EQ(head(63), (Bytes{0xFF}));
  EXPECT_EQ(head(64), (Bytes{0xC0, 0x00}));
  EXPECT_EQ(head(319), (Bytes{0xC0, 0xFF}));
  EXPECT_EQ(head(320), (Bytes{0xC1, 0x00, 0x01}));
  EXPECT_EQ(head(65599), (Bytes{0xC1, 0xFF, 0xFF}));

  for (std::uint32_t id : {2u, 63u, 64u, 319u, 320u, 65599u}) {
    SCOPED_TRACE(id);
    RTMPChunkBuffer input;
    input.put(flatten(output.putMessage(RTMPChunkType::zero, id, message)));
    EXPECT_EQ(input.getBasicHeader(), (RTMPBasicHeader{RTMPChunkType::zero, id}));
  }
}

TEST(RTMPChunkBuffer, SplitsAtTheChunkSize) {
  RTMPChunkBuffer output;
  output.setChunkSize(128);
  RTMPMessage message{RTMPMessageType::video, 1, 0, pattern(128, 1)};
  EXPECT_EQ(output.putMessage(RTMPChunkType::zero, 5, message).size(), 1u);

  message.payload.push_back(0x77);
  const auto chunks = output.putMessage(RTMPChunkType::zero, 5, message);
  ASSERT_EQ(chunks.size(), 2u);
  EXPECT_EQ(chunks[0].size(), 12u + 128u);
  EXPECT_EQ(chunks[1], (Bytes{0xC5, 0x77}));

  message.payload.clear();
  EXPECT_TRUE(output.putMessage(RTMPChunkType::zero, 5, message).empty());
}

TEST(RTMPChunkBuffer, TimestampsAreCutTo24Bits) {
  const RTMPChunkBuffer output;
  const auto chunks = output.putMessage(RTMPChunkType::two, 4, {RTMPMessageType::audio, 0, 0x01234567, {1}});
  EXPECT_EQ(chunks.at(0), (Bytes{0x84, 0x23, 0x45, 0x67, 1}));
}

// Both sides switch chunk size through the message itself; every block size
// from one byte up splits chunks at every possible point.
TEST(RTMPChunkReader, LargeMessagesRoundTripAcrossChunkSizes) {
  for (std::uint32_t chunkSize : {1u, 128u, 4000u, 8192u, 70000u}) {
    RTMPChunkBuffer output;
    Bytes wire = flatten(output.putMessage(RTMPChunkType::zero, 2, makeSetChunkSizeMessage(chunkSize)));
    output.setChunkSize(chunkSize);
    const RTMPMessage big{RTMPMessageType::video, 1, 33, pattern(2 * std::size_t{chunkSize} + 500, chunkSize)};
    const RTMPMessage next{RTMPMessageType::video, 1, 66, pattern(chunkSize + 1, 7)};
    for (const RTMPMessage* m : {&big, &next}) {
      const Bytes bytes = flatten(output.putMessage(RTMPChunkType::zero, 5, *m));
      wire.insert(wire.end(), bytes.begin(), bytes.end());
    }
    for (std::size_t block : {std::size_t{1}, std::size_t{7}, std::size_t{1000}, wire.size()}) {
      if (block == 1 && chunkSize > 8192) continue;  // slow, and no split point the others lack
      SCOPED_TRACE(testing::Message() << "chunk size " << chunkSize << ", block " << block);
      RTMPChunkReader reader;
      const auto messages = readInBlocks(reader, wire, block);
      ASSERT_EQ(messages.size(), 3u);
      EXPECT_EQ(messages[1], big);
      EXPECT_EQ(messages[2], next);
      EXPECT_EQ(reader.chunkSize(), chunkSize);
    }
  }
}

TEST(RTMPChunkReader, ReassemblesInterleavedChunkStreams) {
  RTMPChunkBuffer output;
  const RTMPMessage audio{RTMPMessageType::audio, 1, 10, pattern(300, 2)};
  const RTMPMessage video{RTMPMessageType::video, 1, 20, pattern(500, 3)};
  const auto audioChunks = output.putMessage(RTMPChunkType::zero, 4, audio);
  const auto videoChunks = output.putMessage(RTMPChunkType::zero, 5, video);

  Bytes wire;
  for (std::size_t i = 0; i < std::max(audioChunks.size(), videoChunks.size()); ++i) {
    if (i < videoChunks.size()) wire.insert(wire.end(), videoChunks[i].begin(), videoChunks[i].end());
    if (i < audioChunks.size()) wire.insert(wire.end(), audioChunks[i].begin(), audioChunks[i].end());
  }
  RTMPChunkReader reader;
  EXPECT_EQ(reader.read(wire), (std::vector<RTMPMessage>{audio, video}));
}

// Type 1 and 2 chunks keep what the last header of their chunk stream said.
TEST(RTMPChunkReader, LaterHeadersInheritFromTheChunkStream) {
  const RTMPChunkBuffer output;
  const RTMPMessage first{RTMPMessageType::amf0Data, 7, 100, {1, 2, 3}};
  const RTMPMessage second{RTMPMessageType::amf0Data, 7, 40, {4, 5, 6}};
  const RTMPMessage third{RTMPMessageType::amf0Data, 7, 40, {7, 8, 9}};
  Bytes wire = flatten(output.putMessage(RTMPChunkType::zero, 8, first));
  for (const Bytes& b : {flatten(output.putMessage(RTMPChunkType::two, 8, second)),
                         flatten(output.putMessage(RTMPChunkType::three, 8, third))}) {
    wire.insert(wire.end(), b.begin(), b.end());
  }
  RTMPChunkReader reader;
  EXPECT_EQ(reader.read(wire), (std::vector<RTMPMessage>{first, second, third}));
}

// 0xFFFFFF in the header means four more bytes, on the type 3 chunks of the
// same message too.
TEST(RTMPChunkReader, ReadsExtendedTimestamps) {
  const Bytes body = pattern(200, 4);
  Bytes wire = {0x04, 0xFF, 0xFF, 0xFF, 0x00, 0x00, 200, 0x08, 0x01, 0x00, 0x00, 0x00, 0x01, 0x02, 0x03, 0x04};
  wire.insert(wire.end(), body.begin(), body.begin() + 128);
  wire.insert(wire.end(), {0xC4, 0x01, 0x02, 0x03, 0x04});
  wire.insert(wire.end(), body.begin() + 128, body.end());
  // A following message on another stream proves nothing was left over.
  wire.insert(wire.end(), {0x05, 0x00, 0x00, 0x05, 0x00, 0x00, 0x01, 0x09, 0x01, 0x00, 0x00, 0x00, 0xEE});

  for (std::size_t block : {std::size_t{1}, wire.size()}) {
    RTMPChunkReader reader;
    EXPECT_EQ(readInBlocks(reader, wire, block),
              (std::vector<RTMPMessage>{{RTMPMessageType::audio, 1, 0x01020304, body},
                                        {RTMPMessageType::video, 1, 5, {0xEE}}}));
  }
}

TEST(RTMPChunkReader, UnknownMessageTypesAreSkipped) {
  const Bytes wire = {0x03, 0, 0, 0, 0, 0, 2, 0x07, 0, 0, 0, 0, 0xAA, 0xBB,  // type 7: unknown
                      0x03, 0, 0, 0, 0, 0, 1, 0x14, 0, 0, 0, 0, 0x05};
  RTMPChunkReader reader;
  EXPECT_EQ(reader.read(wire), (std::vector<RTMPMessage>{{RTMPMessageType::amf0Command, 0, 0, {0x05}}}));
}

TEST(RTMPChunkReader, ForbiddenChunkSizesAreErrors) {
  const RTMPChunkBuffer output;
  for (std::uint32_t size : {0u, 0x80000000u}) {
    SCOPED_TRACE(size);
    RTMPChunkReader reader;
    try {
      reader.read(flatten(output.putMessage(RTMPChunkType::zero, 2, makeSetChunkSizeMessage(size))));
      ADD_FAILURE() << "no error";
    } catch (const RTMPChunkError& error) {
      EXPECT_EQ(error.kind(), RTMPChunkError::Kind::invalidChunkSize);
    }
  }
  RTMPChunkReader reader;
  EXPECT_THROW(reader.read(Bytes{0x02, 0, 0, 0, 0, 0, 2, 0x01, 0, 0, 0, 0, 0x10, 0x00}), RTMPChunkError);
}

// Random bytes must give messages, waiting or a chunk size error, never a
// crash or a read past the input (the sanitizer build checks the latter).
TEST(RTMPChunkReader, SurvivesGarbage) {
  std::mt19937 random(5);
  for (int round = 0; round < 300; ++round) {
    RTMPChunkReader reader;
    const Bytes garbage = pattern(1 + random() % 3000, static_cast<std::uint32_t>(round));
    try {
      readInBlocks(reader, garbage, 1 + random() % 64);
    } catch (const RTMPChunkError& error) {
      EXPECT_EQ(error.kind(), RTMPChunkError::Kind::invalidChunkSize);
    }
  }
}

TEST(RTMPChunkReader, ResetForgetsChunkSizeAndPartialInput) {
  RTMPChunkBuffer output;
  RTMPChunkReader reader;
  reader.read(flatten(output.putMessage(RTMPChunkType::zero, 2, makeSetChunkSizeMessage(4096))));
  reader.read(Bytes{0x05, 0x00});  // a chunk cut short
  reader.reset();
  EXPECT_EQ(reader.chunkSize(), 128u);
  const RTMPMessage message{RTMPMessageType::video, 1, 0, pattern(300, 6)};
  EXPECT_EQ(reader.read(flatten(output.putMessage(RTMPChunkType::zero, 5, message))),
            std::vector<RTMPMessage>{message});
}

}  // namespace
}  // namespace tavorin

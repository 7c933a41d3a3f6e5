// What goes on the wire, byte for byte: each row is a value or message and
// its exact bytes, checked both ways. Malformed input lives in the fuzzers'
// corpora (fuzz/corpus); only the errors other code acts on are rows here.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "streaming/rtmp/AMF0Serializer.h"
#include "streaming/rtmp/RTMPAcknowledgementWindow.h"
#include "streaming/rtmp/RTMPPeerAcknowledgements.h"
#include "streaming/rtmp/RTMPChunkBuffer.h"
#include "streaming/rtmp/RTMPChunkReader.h"
#include "streaming/rtmp/RTMPCommandMessage.h"
#include "streaming/rtmp/RTMPControlMessage.h"
#include "streaming/rtmp/RTMPHandshake.h"

namespace tavorin {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Messages = std::vector<RTMPMessage>;

// A piece of wire: byte values, or the characters of a text.
struct Piece {
  Bytes bytes;
  Piece(std::initializer_list<std::uint8_t> values) : bytes(values) {}
  Piece(const char* text) : Piece(std::string(text)) {}
  Piece(const std::string& text) : bytes(text.begin(), text.end()) {}
  Piece(Bytes values) : bytes(std::move(values)) {}
};

Bytes wire(std::initializer_list<Piece> pieces) {
  Bytes out;
  for (const Piece& piece : pieces) out.insert(out.end(), piece.bytes.begin(), piece.bytes.end());
  return out;
}

Bytes counting(std::size_t size) {
  Bytes out(size);
  for (std::size_t i = 0; i < size; ++i) out[i] = static_cast<std::uint8_t>(i * 7 + 1);
  return out;
}

const Bytes kOne = {0x3F, 0xF0, 0, 0, 0, 0, 0, 0};  // 1.0, a big-endian double
const Bytes kObjectEnd = {0x00, 0x00, 0x09};
// A connect command object as publishing clients send it: keys in sorted order.
const AMFObject kConnectObject{{"app", "live"}, {"capabilities", 239}, {"fpad", false}};
const Bytes kConnectObjectBytes = wire({{0x03, 0x00, 0x03}, "app", {0x02, 0x00, 0x04}, "live", {0x00, 0x0C},
                                        "capabilities", {0x00, 0x40, 0x6D, 0xE0, 0, 0, 0, 0, 0}, {0x00, 0x04}, "fpad",
                                        {0x01, 0x00}, kObjectEnd});

AMFValue nestedLists(int depth) {
  AMFValue value = "leaf";
  for (int i = 0; i < depth; ++i) value = AMFList{value};
  return value;
}

Bytes nestedListBytes(int depth) {
  Bytes out;
  for (int i = 0; i < depth; ++i) out.insert(out.end(), {0x0A, 0, 0, 0, 1});
  return wire({out, {0x02, 0x00, 0x04}, "leaf"});
}

TEST(AMF0Wire, ValuesHaveExactBytesBothWays) {
  struct Row {
    const char* name;
    AMFValue value;
    Bytes bytes;
  };
  const Row rows[] = {
      {"null", nullptr, {0x05}},
      {"undefined", AMFUndefined{}, {0x06}},
      {"true", true, {0x01, 0x01}},
      {"number", -2.0, {0x00, 0xC0, 0, 0, 0, 0, 0, 0, 0}},
      {"date, time zone 0", AMFDate{1.0}, wire({{0x0B}, kOne, {0x00, 0x00}})},
      {"empty string", "", {0x02, 0x00, 0x00}},
      {"strict array", AMFList{true}, {0x0A, 0, 0, 0, 1, 0x01, 0x01}},
      // An ECMA array's count covers its indexed entries only.
      {"ECMA array, keyed only", AMFArray{{}, {{"a", true}}},
       wire({{0x08, 0, 0, 0, 0, 0x00, 0x01}, "a", {0x01, 0x01}, kObjectEnd})},
      {"ECMA array, indexed", AMFArray{{false}, {}},
       wire({{0x08, 0, 0, 0, 1, 0x00, 0x01}, "0", {0x01, 0x00}, kObjectEnd})},
      {"object", kConnectObject, kConnectObjectBytes},
      {"object in a list in an object", AMFObject{{"x", AMFList{AMFObject{{"y", nullptr}}}}},
       wire({{0x03, 0x00, 0x01}, "x", {0x0A, 0, 0, 0, 1, 0x03, 0x00, 0x01}, "y", {0x05}, kObjectEnd, kObjectEnd})},
      // The length fields count UTF-8 bytes; past 16 bits the long form takes over.
      {"longest short string", std::string(65535, 'a'), wire({{0x02, 0xFF, 0xFF}, std::string(65535, 'a')})},
      {"shortest long string", std::string(65536, 'b'),
       wire({{0x0C, 0x00, 0x01, 0x00, 0x00}, std::string(65536, 'b')})},
      {"deepest nesting read", nestedLists(AMF0Serializer::kMaxDepth), nestedListBytes(AMF0Serializer::kMaxDepth)},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(AMF0Serializer().serialize(row.value).data(), row.bytes);
    // A value behind it shows the read stops at the value's end.
    AMF0Serializer reader(wire({row.bytes, {0x05}}));
    EXPECT_EQ(reader.deserialize(), row.value);
    EXPECT_EQ(reader.position(), row.bytes.size());
  }
  // One level deeper is refused, so hostile input cannot exhaust the stack.
  try {
    AMF0Serializer(nestedListBytes(AMF0Serializer::kMaxDepth + 1)).deserialize();
    ADD_FAILURE() << "no error";
  } catch (const AMFSerializerError& error) {
    EXPECT_EQ(error.kind(), AMFSerializerError::Kind::deserialize);
  }
}

// What other writers send: keys out of order, a repeated key (the last
// wins), a stale ECMA count, the long form for a short string, a time zone.
TEST(AMF0Wire, ReadsForeignEncodings) {
  const std::pair<Bytes, AMFValue> rows[] = {
      {wire({{0x08, 0, 0, 0, 9, 0x00, 0x01}, "b", {0x01, 0x00, 0x00, 0x01}, "b", {0x01, 0x01, 0x00, 0x01}, "a", {0x05},
             kObjectEnd}),
       AMFArray{{}, {{"a", nullptr}, {"b", true}}}},
      {wire({{0x08, 0, 0, 0, 0, 0x00, 0x01}, "1", {0x01, 0x00, 0x00, 0x01}, "0", {0x01, 0x01}, kObjectEnd}),
       AMFArray{{true, false}, {}}},
      {wire({{0x0C, 0, 0, 0, 4}, "long"}), "long"},
      {wire({{0x0B}, kOne, {0x01, 0xE0}}), AMFDate{1.0}},
  };
  for (const auto& [bytes, value] : rows) {
    AMF0Serializer reader(bytes);
    EXPECT_EQ(reader.deserialize(), value);
    EXPECT_FALSE(reader.hasRemaining());
  }
}

TEST(RTMPCommandWire, CommandsHaveExactBytesBothWays) {
  const std::pair<RTMPCommandMessage, Bytes> rows[] = {
      {{0, 0, "releaseStream", 2, std::nullopt, {"key"}},
       wire({{0x02, 0x00, 0x0D}, "releaseStream", {0x00, 0x40, 0, 0, 0, 0, 0, 0, 0, 0x05, 0x02, 0x00, 0x03}, "key"})},
      {{0, 0, "connect", 1, kConnectObject, {}},
       wire({{0x02, 0x00, 0x07}, "connect", {0x00}, kOne, kConnectObjectBytes})},
  };
  for (const auto& [command, bytes] : rows) {
    SCOPED_TRACE(command.commandName);
    const RTMPMessage message{RTMPMessageType::amf0Command, 0, 0, bytes};
    EXPECT_EQ(command.toMessage(), message);
    EXPECT_EQ(RTMPCommandMessage::fromMessage(message), command);
  }
}

RTMPMessage commandBody(std::initializer_list<AMFValue> values, RTMPMessageType type = RTMPMessageType::amf0Command) {
  AMF0Serializer body;
  for (const AMFValue& value : values) body.serialize(value);
  return RTMPMessage{type, 1, 0, body.data()};
}

TEST(RTMPCommandWire, ReadsWhatServersSendAndNothingFromOtherBodies) {
  const AMFObject properties{{"fmsVer", "FMS/3,0,1,123"}};
  const AMFObject status{{"code", "NetConnection.Connect.Success"}};
  // Values behind the first argument are not read.
  EXPECT_EQ(RTMPCommandMessage::fromMessage(commandBody({"_result", 1, properties, status, "extra"})),
            (RTMPCommandMessage{1, 0, "_result", 1, properties, {status}}));
  // A name of another type is empty and skips its marker alone, as other clients do.
  const Bytes nullName = {0x05, 0x00, 0x40, 0x08, 0, 0, 0, 0, 0, 0, 0x05};
  EXPECT_EQ(RTMPCommandMessage::fromMessage({RTMPMessageType::amf0Command, 1, 0, nullName}),
            (RTMPCommandMessage{1, 0, "", 3, std::nullopt, {}}));
  // The connection ignores what gives nothing: data messages, and bodies that are no command.
  for (const RTMPMessage& other : {commandBody({"onMetaData", 0, nullptr}, RTMPMessageType::amf0Data),
                                   commandBody({"onStatus", "zero", nullptr}), commandBody({"onStatus", 0, true})}) {
    EXPECT_EQ(RTMPCommandMessage::fromMessage(other), std::nullopt);
  }
}

struct Sent {
  RTMPChunkType type;
  std::uint32_t chunkStreamId;
  RTMPMessage message;
};

// Every block size down to one byte splits chunks at every possible point.
void expectReadInAnyBlocks(const Bytes& bytes, const Messages& expected) {
  for (std::size_t block : {std::size_t{1}, std::max<std::size_t>(bytes.size(), 1)}) {
    RTMPChunkReader reader;
    Messages messages;
    for (std::size_t at = 0; at < bytes.size(); at += block) {
      for (auto& m : reader.read(std::span(bytes).subspan(at, std::min(block, bytes.size() - at)))) {
        messages.push_back(std::move(m));
      }
    }
    EXPECT_EQ(messages, expected) << "in blocks of " << block;
  }
}

TEST(RTMPChunkWire, MessagesHaveExactChunksBothWays) {
  const RTMPMessage audio{RTMPMessageType::audio, 0x01020304, 0x0A0B0C, {0xAF}};
  const RTMPMessage video{RTMPMessageType::video, 0, 0, {0x55}};
  const Bytes videoHeader = {0, 0, 0, 0, 0, 1, 0x09, 0, 0, 0, 0};
  const RTMPMessage full{RTMPMessageType::video, 1, 0, Bytes(128, 0xAB)};
  RTMPMessage longer = full;
  longer.payload.push_back(0x77);
  struct Row {
    const char* name;
    std::vector<Sent> sent;
    Bytes bytes;
  };
  const Row rows[] = {
      {"set chunk size", {{RTMPChunkType::zero, 2, makeSetChunkSizeMessage(4096)}},
       {0x02, 0, 0, 0, 0, 0, 4, 0x01, 0, 0, 0, 0, 0x00, 0x00, 0x10, 0x00}},
      // The stream id goes little-endian in type 0 and is left out of type 1; type 2 has the time alone.
      {"types 0, 1, 2",
       {{RTMPChunkType::zero, 4, audio}, {RTMPChunkType::one, 4, audio}, {RTMPChunkType::two, 4, audio}},
       {0x04, 0x0A, 0x0B, 0x0C, 0, 0, 1, 0x08, 0x04, 0x03, 0x02, 0x01, 0xAF, 0x44, 0x0A, 0x0B, 0x0C, 0, 0, 1, 0x08,
        0xAF, 0x84, 0x0A, 0x0B, 0x0C, 0xAF}},
      // Type 2 and 3 keep what the last header of their chunk stream said.
      {"types 0, 2, 3",
       {{RTMPChunkType::zero, 8, {RTMPMessageType::amf0Data, 7, 100, {1, 2, 3}}},
        {RTMPChunkType::two, 8, {RTMPMessageType::amf0Data, 7, 40, {4, 5, 6}}},
        {RTMPChunkType::three, 8, {RTMPMessageType::amf0Data, 7, 40, {7, 8, 9}}}},
       {0x08, 0, 0, 100, 0, 0, 3, 0x12, 7, 0, 0, 0, 1, 2, 3, 0x88, 0, 0, 40, 4, 5, 6, 0xC8, 7, 8, 9}},
      // Chunk stream ids take one, two or three bytes.
      {"id 63", {{RTMPChunkType::zero, 63, video}}, wire({{0x3F}, videoHeader, {0x55}})},
      {"id 64", {{RTMPChunkType::zero, 64, video}}, wire({{0x00, 0x00}, videoHeader, {0x55}})},
      {"id 319", {{RTMPChunkType::zero, 319, video}}, wire({{0x00, 0xFF}, videoHeader, {0x55}})},
      {"id 320", {{RTMPChunkType::zero, 320, video}}, wire({{0x01, 0x00, 0x01}, videoHeader, {0x55}})},
      {"id 65599", {{RTMPChunkType::zero, 65599, video}}, wire({{0x01, 0xFF, 0xFF}, videoHeader, {0x55}})},
      {"one chunk's worth", {{RTMPChunkType::zero, 5, full}},
       wire({{0x05, 0, 0, 0, 0, 0, 0x80, 0x09, 1, 0, 0, 0}, full.payload})},
      {"a byte more", {{RTMPChunkType::zero, 5, longer}},
       wire({{0x05, 0, 0, 0, 0, 0, 0x81, 0x09, 1, 0, 0, 0}, full.payload, {0xC5, 0x77}})},
      {"empty payload", {{RTMPChunkType::zero, 5, {RTMPMessageType::video, 1, 0, {}}}}, {}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const RTMPChunkBuffer writer;
    Bytes bytes;
    Messages sent;
    for (const Sent& s : row.sent) {
      for (const Bytes& chunk : writer.putMessage(s.type, s.chunkStreamId, s.message)) {
        bytes.insert(bytes.end(), chunk.begin(), chunk.end());
      }
      if (!s.message.payload.empty()) sent.push_back(s.message);
    }
    EXPECT_EQ(bytes, row.bytes);
    expectReadInAnyBlocks(row.bytes, sent);
  }
  // Media carries deltas, so the writer cuts timestamps to 24 bits.
  EXPECT_EQ(RTMPChunkBuffer().putMessage(RTMPChunkType::two, 4, {RTMPMessageType::audio, 0, 0x01234567, {1}}),
            (std::vector<Bytes>{{0x84, 0x23, 0x45, 0x67, 1}}));
}

// What other writers send and ours never does.
TEST(RTMPChunkWire, ReadsForeignChunks) {
  const Bytes body = counting(200);
  const Bytes chunkSizeTwo = {0x02, 0, 0, 0, 0, 0, 4, 0x01, 0, 0, 0, 0, 0, 0, 0, 2};
  const std::pair<Bytes, Messages> rows[] = {
      // 0xFFFFFF means four more bytes, on the type 3 chunks of the same message too; the
      // message behind, on another chunk stream, shows nothing was left over.
      {wire({{0x04, 0xFF, 0xFF, 0xFF, 0, 0, 200, 0x08, 1, 0, 0, 0, 0x01, 0x02, 0x03, 0x04},
             Bytes(body.begin(), body.begin() + 128), {0xC4, 0x01, 0x02, 0x03, 0x04},
             Bytes(body.begin() + 128, body.end()),
             {0x05, 0, 0, 5, 0, 0, 1, 0x09, 1, 0, 0, 0, 0xEE}}),
       {{RTMPMessageType::audio, 1, 0x01020304, body}, {RTMPMessageType::video, 1, 5, {0xEE}}}},
      // Unknown message types are skipped.
      {{0x03, 0, 0, 0, 0, 0, 2, 0x07, 0, 0, 0, 0, 0xAA, 0xBB, 0x03, 0, 0, 0, 0, 0, 1, 0x14, 0, 0, 0, 0, 0x05},
       {{RTMPMessageType::amf0Command, 0, 0, {0x05}}}},
      // Two chunk streams interleaved, cut at a chunk size that takes effect within the block.
      {wire({chunkSizeTwo, {0x04, 0, 0, 0, 0, 0, 3, 0x08, 1, 0, 0, 0, 1, 2, 0x05, 0, 0, 0, 0, 0, 3, 0x09, 1, 0, 0, 0, 9,
                            8, 0xC4, 3, 0xC5, 7}}),
       {makeSetChunkSizeMessage(2), {RTMPMessageType::audio, 1, 0, {1, 2, 3}},
        {RTMPMessageType::video, 1, 0, {9, 8, 7}}}},
  };
  for (const auto& [bytes, messages] : rows) expectReadInAnyBlocks(bytes, messages);
}

// The connection hangs up on these rather than read a stream it cannot follow.
TEST(RTMPChunkWire, ForbiddenChunkSizesAreErrors) {
  const RTMPChunkBuffer writer;
  for (std::uint32_t size : {0u, RTMPChunkReader::kMaxChunkSize + 1}) {
    RTMPChunkReader reader;
    try {
      reader.read(writer.putMessage(RTMPChunkType::zero, 2, makeSetChunkSizeMessage(size)).at(0));
      ADD_FAILURE() << "no error for " << size;
    } catch (const RTMPChunkError& error) {
      EXPECT_EQ(error.kind(), RTMPChunkError::Kind::invalidChunkSize) << size;
    }
  }
}

// Large messages over small, default and wider-than-16-bit chunk sizes,
// announced in the same stream.
TEST(RTMPChunkWire, LargeMessagesRoundTripAcrossChunkSizes) {
  for (std::uint32_t chunkSize : {1u, 128u, 70000u}) {
    RTMPChunkBuffer writer;
    const Messages messages = {makeSetChunkSizeMessage(chunkSize),
                               {RTMPMessageType::video, 1, 33, counting(2 * std::size_t{chunkSize} + 500)},
                               {RTMPMessageType::video, 1, 66, counting(chunkSize + 1)}};
    Bytes bytes;
    for (const RTMPMessage& m : messages) {
      const std::uint32_t chunkStream = m.type == RTMPMessageType::chunkSize ? 2 : 5;
      for (const Bytes& chunk : writer.putMessage(RTMPChunkType::zero, chunkStream, m)) {
        bytes.insert(bytes.end(), chunk.begin(), chunk.end());
      }
      writer.setChunkSize(chunkSize);
    }
    SCOPED_TRACE(chunkSize);
    expectReadInAnyBlocks(bytes, messages);
  }
}

// A reconnect starts over: chunk size 128 and no half-read chunk.
TEST(RTMPChunkWire, ResetForgetsChunkSizeAndPartialInput) {
  RTMPChunkBuffer writer;
  RTMPChunkReader reader;
  reader.read(writer.putMessage(RTMPChunkType::zero, 2, makeSetChunkSizeMessage(4096)).at(0));
  reader.read(Bytes{0x05, 0x00});
  reader.reset();
  EXPECT_EQ(reader.chunkSize(), 128u);
  const RTMPMessage message{RTMPMessageType::video, 1, 0, counting(300)};
  Messages read;
  for (const Bytes& chunk : writer.putMessage(RTMPChunkType::zero, 5, message)) {
    for (auto& m : reader.read(chunk)) read.push_back(std::move(m));
  }
  EXPECT_EQ(read, Messages{message});
}

TEST(RTMPControlWire, ControlMessagesHaveExactBodiesBothWays) {
  const std::tuple<RTMPMessage, RTMPMessageType, Bytes, std::uint32_t> rows[] = {
      {makeSetChunkSizeMessage(8192), RTMPMessageType::chunkSize, {0, 0, 0x20, 0}, 8192},
      {makeWindowAcknowledgementSizeMessage(2500000), RTMPMessageType::windowAck, {0x00, 0x26, 0x25, 0xA0}, 2500000},
      {makeAcknowledgementMessage(0x01020304), RTMPMessageType::ack, {1, 2, 3, 4}, 0x01020304},
  };
  for (const auto& [made, type, body, value] : rows) {
    EXPECT_EQ(made, (RTMPMessage{type, 0, 0, body}));
    EXPECT_EQ(controlMessageValue(made), value);
  }
  const RTMPMessage pong = makePongMessage(0xDEADBEEF);
  EXPECT_EQ(pong, (RTMPMessage{RTMPMessageType::user, 0, 0, {0, 7, 0xDE, 0xAD, 0xBE, 0xEF}}));
  EXPECT_EQ(userControlEvent(pong), (RTMPUserControlEvent{7, 0xDEADBEEF}));

  // Values only from whole bodies of their type: a short one is answered with nothing.
  EXPECT_EQ(controlMessageValue({RTMPMessageType::bandwidth, 0, 0, {0, 0x26, 0x25, 0xA0, 2}}), 2500000u);
  EXPECT_EQ(controlMessageValue({RTMPMessageType::chunkSize, 0, 0, {0, 0, 1}}), std::nullopt);
  EXPECT_EQ(controlMessageValue({RTMPMessageType::video, 0, 0, {0, 0, 0, 1}}), std::nullopt);
  EXPECT_EQ(userControlEvent({RTMPMessageType::user, 0, 0, {0, 6, 0, 0, 1, 0}}), (RTMPUserControlEvent{6, 256}));
  EXPECT_EQ(userControlEvent({RTMPMessageType::user, 0, 0, {0, 6, 0, 0, 1}}), std::nullopt);
}

TEST(RTMPAcknowledgementWindow, WindowIsEchoedOnlyOnceConnected) {
  RTMPAcknowledgementWindow window;
  EXPECT_EQ(window.windowAcknowledgementSizeReceived(5000000, false), std::nullopt);
  EXPECT_EQ(window.windowAcknowledgementSizeReceived(2500000, true), makeWindowAcknowledgementSizeMessage(2500000));
  EXPECT_EQ(window.windowSizeC, 2500000);
  EXPECT_EQ(window.windowSizeS, 2500000);
}

// One acknowledgement per tick at most, each time a further window is full;
// only the first of a connection carries a full header.
TEST(RTMPAcknowledgementWindow, AcknowledgesEachFullWindowOnATick) {
  RTMPAcknowledgementWindow window;
  using Due = std::optional<std::pair<RTMPChunkType, RTMPMessage>>;
  EXPECT_EQ(window.tick(249999), std::nullopt);
  EXPECT_EQ(window.tick(250000), Due({RTMPChunkType::zero, makeAcknowledgementMessage(250000)}));
  EXPECT_EQ(window.tick(499999), std::nullopt);
  // Four windows are full by now: the two still owed go out one per tick.
  EXPECT_EQ(window.tick(1000000), Due({RTMPChunkType::one, makeAcknowledgementMessage(1000000)}));
  EXPECT_TRUE(window.tick(1000000));
  EXPECT_TRUE(window.tick(1000000));
  EXPECT_EQ(window.tick(1000000), std::nullopt);

  window.reset();
  EXPECT_EQ(window.tick(250000), Due({RTMPChunkType::zero, makeAcknowledgementMessage(250000)}));
}

// A server is judged only once it has acknowledged; then two windows
// delivered past its last count make it late, from the moment first seen.
TEST(RTMPPeerAcknowledgements, LateOnlyAfterTwoWindowsPastTheLastCount) {
  RTMPPeerAcknowledgements peer;
  EXPECT_EQ(peer.secondsOverdue(10000000, 1.0), 0) << "no window told";
  peer.windowTold(1000);
  EXPECT_EQ(peer.secondsOverdue(10000000, 2.0), 0) << "never acknowledged: never judged";
  peer.received(1500);
  const struct {
    std::uint64_t delivered;
    double now;
    double overdue;
  } steps[] = {{3500, 3.0, 0}, {3501, 4.0, 0}, {9000, 6.5, 2.5}};
  for (const auto& step : steps) EXPECT_EQ(peer.secondsOverdue(step.delivered, step.now), step.overdue) << step.now;
  peer.received(8500);
  EXPECT_EQ(peer.secondsOverdue(9000, 7.0), 0) << "a new count clears it";
  // The 32-bit count wraps; the step from the last one is what counts.
  peer.received(0xFFFFFF00u);
  peer.received(0x100u);
  EXPECT_EQ(peer.secondsOverdue(0x100000200ull, 8.0), 0);
  EXPECT_EQ(peer.secondsOverdue(0x100000A00ull, 9.0), 0);
  EXPECT_EQ(peer.secondsOverdue(0x100000A00ull, 10.0), 1.0);
  peer.reset();
  EXPECT_EQ(peer.secondsOverdue(0x200000000ull, 11.0), 0) << "a new connection starts unjudged";
}

TEST(RTMPHandshakeWire, C0C1IsVersionZeroTimeAndFreshRandomBytes) {
  RTMPHandshake handshake;
  const Bytes first = handshake.c0c1packet();
  ASSERT_EQ(first.size(), 1537u);
  EXPECT_EQ(Bytes(first.begin(), first.begin() + 9), (Bytes{0x03, 0, 0, 0, 0, 0, 0, 0, 0}));
  const Bytes second = handshake.c0c1packet();
  EXPECT_NE(Bytes(first.begin() + 9, first.end()), Bytes(second.begin() + 9, second.end()));
}

// C2 echoes the server's time and random block with our clock in between,
// cut to 32 bits; it goes out once S2 has begun, and what follows S1 is kept.
TEST(RTMPHandshakeWire, C2EchoesS1) {
  Bytes s0s1 = {0x03, 0x11, 0x22, 0x33, 0x44, 0, 0, 0, 0};
  for (std::size_t i = 0; i < 1528; ++i) s0s1.push_back(static_cast<std::uint8_t>(i * 7));
  for (const auto& [now, clock] : {std::pair{100 + 0x01020364 + 0.9, Bytes{0x01, 0x02, 0x03, 0x64}},
                                   std::pair{100 + 4294967296.0 + 5, Bytes{0, 0, 0, 5}}}) {
    RTMPHandshake handshake;
    handshake.timestamp = 100;
    EXPECT_THROW(handshake.c2packet(0), std::logic_error);
    handshake.put(Bytes(s0s1.begin(), s0s1.begin() + 1000));
    handshake.put(Bytes(s0s1.begin() + 1000, s0s1.end()));
    EXPECT_FALSE(handshake.hasS0S1()) << "C2 waits for the first byte of S2";
    handshake.put(Bytes{0xAB, 0xCD});
    ASSERT_TRUE(handshake.hasS0S1());
    EXPECT_EQ(handshake.c2packet(now), wire({{0x11, 0x22, 0x33, 0x44}, clock, Bytes(s0s1.begin() + 9, s0s1.end())}));
    EXPECT_EQ(handshake.inputBuffer(), (Bytes{0xAB, 0xCD}));
    EXPECT_FALSE(handshake.hasS2());
    handshake.put(Bytes(1534, 0));
    EXPECT_TRUE(handshake.hasS2());
    handshake.put(Bytes{0});
    EXPECT_FALSE(handshake.hasS2());
  }
}

}  // namespace
}  // namespace tavorin

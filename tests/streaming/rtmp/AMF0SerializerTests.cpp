#include "streaming/rtmp/AMF0Serializer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tavorin {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes bytesOf(std::string_view text) { return Bytes(text.begin(), text.end()); }

Bytes concat(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const Bytes& part : parts) out.insert(out.end(), part.begin(), part.end());
  return out;
}

Bytes encode(const AMFValue& value) { return AMF0Serializer().serialize(value).data(); }

AMFValue richValue() {
  return AMFObject{
      {"name", "Tavorin"},
      {"count", 3},
      {"on", true},
      {"nothing", nullptr},
      {"missing", AMFUndefined{}},
      {"when", AMFDate{1.7e12}},
      {"list", AMFList{1.5, "two", AMFObject{{"x", -0.25}}}},
      {"meta", AMFArray{{10, 20}, {{"width", 1920}}}},
      {"nested", AMFObject{{"inner", AMFObject{{"deep", "yes"}}}}},
  };
}

// A connect command as publishing clients send it: name, transaction id 1,
// command object. Keys go out in sorted order.
TEST(AMF0Serializer, ConnectCommandHasExactBytes) {
  AMF0Serializer body;
  body.serialize("connect").serialize(1).serialize(
      AMFObject{{"app", "live"}, {"capabilities", 239}, {"fpad", false}});

  const Bytes expected = concat({
      {0x02, 0x00, 0x07},
      bytesOf("connect"),
      {0x00, 0x3F, 0xF0, 0, 0, 0, 0, 0, 0},
      {0x03},
      {0x00, 0x03},
      bytesOf("app"),
      {0x02, 0x00, 0x04},
      bytesOf("live"),
      {0x00, 0x0C},
      bytesOf("capabilities"),
      {0x00, 0x40, 0x6D, 0xE0, 0, 0, 0, 0, 0},
      {0x00, 0x04},
      bytesOf("fpad"),
      {0x01, 0x00},
      {0x00, 0x00, 0x09},
  });
  EXPECT_EQ(body.data(), expected);
}

TEST(AMF0Serializer, ScalarsHaveExactBytes) {
  EXPECT_EQ(encode(nullptr), Bytes{0x05});
  EXPECT_EQ(encode(AMFUndefined{}), Bytes{0x06});
  EXPECT_EQ(encode(true), (Bytes{0x01, 0x01}));
  EXPECT_EQ(encode(-2.0), (Bytes{0x00, 0xC0, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(encode(AMFDate{1.0}), (Bytes{0x0B, 0x3F, 0xF0, 0, 0, 0, 0, 0, 0, 0x00, 0x00}));
  EXPECT_EQ(encode(AMFList{true}), (Bytes{0x0A, 0, 0, 0, 1, 0x01, 0x01}));
}

// The count of an ECMA array covers its indexed entries only; metadata with
// keyed entries alone says 0.
TEST(AMF0Serializer, EcmaArrayCountsIndexedEntriesOnly) {
  EXPECT_EQ(encode(AMFArray{{}, {{"a", true}}}),
            (Bytes{0x08, 0, 0, 0, 0, 0x00, 0x01, 'a', 0x01, 0x01, 0x00, 0x00, 0x09}));
  EXPECT_EQ(encode(AMFArray{{false}, {}}),
            (Bytes{0x08, 0, 0, 0, 1, 0x00, 0x01, '0', 0x01, 0x00, 0x00, 0x00, 0x09}));
}

TEST(AMF0Serializer, StringsSwitchToLongFormAbove65535Bytes) {
  const std::string shortest(65535, 'a');
  const std::string longest(65536, 'b');
  const Bytes shortBytes = encode(shortest);
  const Bytes longBytes = encode(longest);
  EXPECT_EQ(Bytes(shortBytes.begin(), shortBytes.begin() + 3), (Bytes{0x02, 0xFF, 0xFF}));
  EXPECT_EQ(Bytes(longBytes.begin(), longBytes.begin() + 5), (Bytes{0x0C, 0x00, 0x01, 0x00, 0x00}));

  AMF0Serializer reader(concat({shortBytes, longBytes}));
  EXPECT_EQ(reader.deserialize(), AMFValue(shortest));
  EXPECT_EQ(reader.deserialize(), AMFValue(longest));
  EXPECT_FALSE(reader.hasRemaining());
}

TEST(AMF0Serializer, EveryKindRoundTrips) {
  AMF0Serializer writer;
  writer.serialize(richValue()).serialize("tail");
  AMF0Serializer reader(writer.data());
  EXPECT_EQ(reader.deserialize(), richValue());
  EXPECT_EQ(reader.deserialize(), AMFValue("tail"));
  EXPECT_FALSE(reader.hasRemaining());
}

// Values other writers produce: keys out of order, a repeated key, a stale
// ECMA count.
TEST(AMF0Serializer, ReadsForeignObjects) {
  const Bytes foreign = {0x08, 0, 0, 0, 9,  // count says 9, two entries follow
                         0x00, 0x01, 'b', 0x01, 0x00, 0x00, 0x01, 'b', 0x01, 0x01,
                         0x00, 0x01, 'a', 0x05, 0x00, 0x00, 0x09};
  EXPECT_EQ(AMF0Serializer(foreign).deserialize(), AMFValue(AMFArray{{}, {{"a", nullptr}, {"b", true}}}));
}

TEST(AMF0Serializer, EveryTruncationIsAnErrorThatKeepsThePosition) {
  const Bytes whole = encode(richValue());
  for (std::size_t size = 0; size < whole.size(); ++size) {
    SCOPED_TRACE(size);
    AMF0Serializer reader(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
    EXPECT_THROW(reader.deserialize(), AMFSerializerError);
    EXPECT_EQ(reader.position(), 0u);
  }
}

TEST(AMF0Serializer, MalformedInputIsAnError) {
  struct Case {
    const char* name;
    Bytes bytes;
    AMFSerializerError::Kind kind;
  };
  const Case cases[] = {
      {"reference marker", {0x07, 0x00, 0x01}, AMFSerializerError::Kind::deserialize},
      {"object end as a value", {0x09}, AMFSerializerError::Kind::deserialize},
      {"AMF3 switch", {0x11, 0x01}, AMFSerializerError::Kind::deserialize},
      {"empty key without end", {0x03, 0x00, 0x00, 0x05}, AMFSerializerError::Kind::deserialize},
      {"long string past the end", {0x0C, 0xFF, 0xFF, 0xFF, 0xFF, 'a'}, AMFSerializerError::Kind::outOfIndex},
      {"strict array count past the end", {0x0A, 0xFF, 0xFF, 0xFF, 0xFF, 0x05}, AMFSerializerError::Kind::outOfIndex},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    AMF0Serializer reader(c.bytes);
    try {
      reader.deserialize();
      ADD_FAILURE() << "no error";
    } catch (const AMFSerializerError& error) {
      EXPECT_EQ(error.kind(), c.kind);
    }
  }
}

TEST(AMF0Serializer, NestingIsLimited) {
  auto nested = [](int depth) {
    AMFValue value = "leaf";
    for (int i = 0; i < depth; ++i) value = AMFList{value};
    return value;
  };
  const AMFValue deepest = nested(AMF0Serializer::kMaxDepth);
  EXPECT_EQ(AMF0Serializer(encode(deepest)).deserialize(), deepest);

  // Far deeper than any stack would take unchecked.
  Bytes hostile;
  for (int i = 0; i < 100000; ++i) hostile.insert(hostile.end(), {0x0A, 0, 0, 0, 1});
  hostile.push_back(0x05);
  EXPECT_THROW(AMF0Serializer(hostile).deserialize(), AMFSerializerError);
  EXPECT_THROW(AMF0Serializer(encode(nested(AMF0Serializer::kMaxDepth + 1))).deserialize(), AMFSerializerError);
}

}  // namespace
}  // namespace tavorin

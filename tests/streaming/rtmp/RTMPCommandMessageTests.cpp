#include "streaming/rtmp/RTMPCommandMessage.h"

#include <gtest/gtest.h>

#include "streaming/rtmp/AMF0Serializer.h"

namespace tavorin {
namespace {

using Bytes = std::vector<std::uint8_t>;

RTMPMessage commandMessage(std::initializer_list<AMFValue> values) {
  AMF0Serializer body;
  for (const AMFValue& value : values) body.serialize(value);
  return RTMPMessage{RTMPMessageType::amf0Command, 0, 0, body.data()};
}

TEST(RTMPCommandMessage, CallWithoutCommandObjectHasExactBytes) {
  const RTMPCommandMessage call{0, 0, "releaseStream", 2, std::nullopt, {"key"}};
  const Bytes expected = {0x02, 0x00, 0x0D, 'r', 'e', 'l', 'e', 'a', 's', 'e', 'S', 't', 'r', 'e', 'a', 'm',
                          0x00, 0x40, 0, 0, 0, 0, 0, 0, 0, 0x05, 0x02, 0x00, 0x03, 'k', 'e', 'y'};
  EXPECT_EQ(call.toMessage(), (RTMPMessage{RTMPMessageType::amf0Command, 0, 0, expected}));
}

TEST(RTMPCommandMessage, ReadsAServerResult) {
  const AMFObject properties{{"fmsVer", "FMS/3,0,1,123"}, {"capabilities", 31}};
  const AMFObject status{{"level", "status"}, {"code", "NetConnection.Connect.Success"}};
  // Values behind the first argument are not read.
  const auto result = RTMPCommandMessage::fromMessage(commandMessage({"_result", 1, properties, status, "extra"}));
  ASSERT_TRUE(result);
  EXPECT_EQ(*result, (RTMPCommandMessage{0, 0, "_result", 1, properties, {status}}));

  const RTMPCommandMessage connect{0, 0, "connect", 1, AMFObject{{"app", "live"}}, {}};
  EXPECT_EQ(RTMPCommandMessage::fromMessage(connect.toMessage()), connect);
}

TEST(RTMPCommandMessage, NameOfAnotherTypeIsEmptyAndSkipsOneByte) {
  // 0x05 as name, then the id and a null object.
  const Bytes body = {0x05, 0x00, 0x40, 0x08, 0, 0, 0, 0, 0, 0, 0x05};
  const auto command = RTMPCommandMessage::fromMessage({RTMPMessageType::amf0Command, 1, 0, body});
  ASSERT_TRUE(command);
  EXPECT_EQ(command->commandName, "");
  EXPECT_EQ(command->transactionId, 3);
  EXPECT_EQ(command->streamId, 1u);
}

TEST(RTMPCommandMessage, BodiesThatDoNotDecodeGiveNothing) {
  EXPECT_EQ(RTMPCommandMessage::fromMessage(commandMessage({})), std::nullopt);
  EXPECT_EQ(RTMPCommandMessage::fromMessage(commandMessage({"onStatus", "zero", nullptr})), std::nullopt);
  EXPECT_EQ(RTMPCommandMessage::fromMessage(commandMessage({"onStatus", 0, true})), std::nullopt);
  EXPECT_EQ(RTMPCommandMessage::fromMessage(commandMessage({"onStatus", 0})), std::nullopt);

  RTMPMessage truncated = commandMessage({"onStatus", 0, nullptr, AMFObject{{"code", "x"}}});
  truncated.payload.pop_back();
  EXPECT_EQ(RTMPCommandMessage::fromMessage(truncated), std::nullopt);

  RTMPMessage data = commandMessage({"onMetaData", 0, nullptr});
  data.type = RTMPMessageType::amf0Data;
  EXPECT_EQ(RTMPCommandMessage::fromMessage(data), std::nullopt);
}

}  // namespace
}  // namespace tavorin

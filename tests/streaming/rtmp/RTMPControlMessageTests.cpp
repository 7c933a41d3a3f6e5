#include "streaming/rtmp/RTMPControlMessage.h"

#include <gtest/gtest.h>

#include "streaming/rtmp/RTMPAcknowledgementWindow.h"

namespace tavorin {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(RTMPControlMessage, BodiesAreBigEndian) {
  EXPECT_EQ(makeSetChunkSizeMessage(8192), (RTMPMessage{RTMPMessageType::chunkSize, 0, 0, {0, 0, 0x20, 0}}));
  EXPECT_EQ(makeWindowAcknowledgementSizeMessage(2500000),
            (RTMPMessage{RTMPMessageType::windowAck, 0, 0, {0x00, 0x26, 0x25, 0xA0}}));
  EXPECT_EQ(makeAcknowledgementMessage(0x01020304), (RTMPMessage{RTMPMessageType::ack, 0, 0, {1, 2, 3, 4}}));
  EXPECT_EQ(makePongMessage(0xDEADBEEF), (RTMPMessage{RTMPMessageType::user, 0, 0, {0, 7, 0xDE, 0xAD, 0xBE, 0xEF}}));
}

TEST(RTMPControlMessage, ReadsValuesOnlyFromWholeBodiesOfTheirType) {
  EXPECT_EQ(controlMessageValue({RTMPMessageType::bandwidth, 0, 0, {0, 0x26, 0x25, 0xA0, 2}}), 2500000u);
  EXPECT_EQ(controlMessageValue({RTMPMessageType::chunkSize, 0, 0, {0, 0, 1}}), std::nullopt);
  EXPECT_EQ(controlMessageValue({RTMPMessageType::video, 0, 0, {0, 0, 0, 1}}), std::nullopt);

  EXPECT_EQ(userControlEvent({RTMPMessageType::user, 0, 0, {0, 6, 0, 0, 1, 0}}),
            (RTMPUserControlEvent{static_cast<std::uint16_t>(RTMPUserControlEventType::ping), 256}));
  EXPECT_EQ(userControlEvent({RTMPMessageType::user, 0, 0, {0, 6, 0, 0, 1}}), std::nullopt);
}

TEST(RTMPAcknowledgementWindow, WindowIsEchoedOnlyOnceConnected) {
  RTMPAcknowledgementWindow window;
  EXPECT_EQ(window.windowAcknowledgementSizeReceived(5000000, false), std::nullopt);
  EXPECT_EQ(window.windowSizeS, 5000000);
  EXPECT_EQ(window.windowAcknowledgementSizeReceived(2500000, true), makeWindowAcknowledgementSizeMessage(2500000));
  EXPECT_EQ(window.windowSizeC, 2500000);
  EXPECT_EQ(window.windowSizeS, 2500000);
}

// One acknowledgement per tick at most, each time a further window is full;
// only the first carries a full header.
TEST(RTMPAcknowledgementWindow, AcknowledgesEachFullWindowOnATick) {
  RTMPAcknowledgementWindow window;
  EXPECT_EQ(window.tick(249999), std::nullopt);
  auto first = window.tick(250000);
  ASSERT_TRUE(first);
  EXPECT_EQ(first->first, RTMPChunkType::zero);
  EXPECT_EQ(first->second, makeAcknowledgementMessage(250000));

  EXPECT_EQ(window.tick(499999), std::nullopt);
  // Four windows are full by now: the two still owed go out one per tick.
  auto second = window.tick(1000000);
  ASSERT_TRUE(second);
  EXPECT_EQ(second->first, RTMPChunkType::one);
  EXPECT_EQ(second->second, makeAcknowledgementMessage(1000000));
  EXPECT_TRUE(window.tick(1000000));
  EXPECT_TRUE(window.tick(1000000));
  EXPECT_EQ(window.tick(1000000), std::nullopt);
  EXPECT_EQ(window.sequence, 4);

  window.reset();
  EXPECT_EQ(window.sequence, 0);
  auto again = window.tick(250000);
  ASSERT_TRUE(again);
  EXPECT_EQ(again->first, RTMPChunkType::zero);
}

}  // namespace
}  // namespace tavorin

#include "streaming/rtmp/RTMPHandshake.h"

#include <gtest/gtest.h>

#include <vector>

namespace tavorin {
namespace {

using Bytes = std::vector<std::uint8_t>;

// S0+S1 with a recognisable time and random block.
Bytes serverS0S1() {
  Bytes bytes = {0x03, 0x11, 0x22, 0x33, 0x44, 0, 0, 0, 0};
  for (std::size_t i = 0; i < 1528; ++i) bytes.push_back(static_cast<std::uint8_t>(i * 7));
  return bytes;
}

TEST(RTMPHandshake, C0C1IsVersionZeroTimeAndRandomBytes) {
  RTMPHandshake handshake;
  const Bytes first = handshake.c0c1packet();
  ASSERT_EQ(first.size(), 1537u);
  EXPECT_EQ(Bytes(first.begin(), first.begin() + 9), (Bytes{0x03, 0, 0, 0, 0, 0, 0, 0, 0}));
  // A fresh draw each time, not a fixed block.
  const Bytes second = handshake.c0c1packet();
  EXPECT_NE(Bytes(first.begin() + 9, first.end()), Bytes(second.begin() + 9, second.end()));
}

TEST(RTMPHandshake, C2EchoesS1AndKeepsWhatFollows) {
  RTMPHandshake handshake;
  handshake.timestamp = 100;
  const Bytes s0s1 = serverS0S1();
  EXPECT_THROW(handshake.c2packet(0), std::logic_error);
  handshake.put(Bytes(s0s1.begin(), s0s1.begin() + 1000));
  EXPECT_FALSE(handshake.hasS0S1());
  handshake.put(Bytes(s0s1.begin() + 1000, s0s1.end()));
  // Exactly S0+S1 is not enough: C2 waits for the first byte of S2.
  EXPECT_FALSE(handshake.hasS0S1());
  handshake.put(Bytes{0xAB, 0xCD});
  ASSERT_TRUE(handshake.hasS0S1());

  const Bytes c2 = handshake.c2packet(0x01020364 + 0.9);
  ASSERT_EQ(c2.size(), 1536u);
  EXPECT_EQ(Bytes(c2.begin(), c2.begin() + 8), (Bytes{0x11, 0x22, 0x33, 0x44, 0x01, 0x02, 0x03, 0x00}));
  EXPECT_EQ(Bytes(c2.begin() + 8, c2.end()), Bytes(s0s1.begin() + 9, s0s1.end()));
  EXPECT_EQ(handshake.inputBuffer(), (Bytes{0xAB, 0xCD}));
  EXPECT_FALSE(handshake.hasS2());

  handshake.put(Bytes(1534, 0));
  EXPECT_TRUE(handshake.hasS2());
  handshake.put(Bytes{0});
  EXPECT_FALSE(handshake.hasS2());
}

// The time field of C2 is our clock cut to a signed 32-bit integer.
TEST(RTMPHandshake, C2TimeWrapsAt32Bits) {
  RTMPHandshake handshake;
  handshake.put(serverS0S1());
  handshake.put(Bytes{0});
  const Bytes c2 = handshake.c2packet(4294967296.0 + 5);
  EXPECT_EQ(Bytes(c2.begin() + 4, c2.begin() + 8), (Bytes{0, 0, 0, 5}));
}

}  // namespace
}  // namespace tavorin

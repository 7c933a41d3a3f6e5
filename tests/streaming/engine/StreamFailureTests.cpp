#include "streaming/StreamFailure.h"

#include <gtest/gtest.h>

#include "streaming/StreamState.h"

namespace tavorin {
namespace {

TEST(StreamFailure, ErrorTextsAreReadInOrder) {
  using namespace stream_failure;
  // A refused publish names BadName inside a requestFailed: the key wins.
  EXPECT_EQ(friendlyText("requestFailed(NetStream.Publish.BadName: refused)"), "Stream key rejected — check the key");
  EXPECT_EQ(friendlyText("requestTimedOut"), "Server didn't respond — check the URL");
  EXPECT_EQ(friendlyText("unsupportedCommand"), "Invalid server URL");
  EXPECT_EQ(friendlyText("socketErrorOccurred(Connection refused)"), "Connection refused — check the URL/port");
  const std::string longText(200, 'x');
  EXPECT_EQ(friendlyText(longText), "Failed: " + std::string(120, 'x'));
  // A cut never splits a character.
  std::string accented;
  for (int i = 0; i < 130; ++i) accented += "é";
  EXPECT_EQ(friendlyText(accented).size(), std::string("Failed: ").size() + 240);

  EXPECT_TRUE(isFatal("requestFailed(NetStream.Publish.BadName: Already publishing)"));
  EXPECT_TRUE(isFatal("unsupportedCommand"));
  EXPECT_FALSE(isFatal("requestFailed(NetConnection.Connect.Closed)"));
  EXPECT_FALSE(isFatal("connectionTimedOut"));
  const double waits[] = {2, 4, 8, 16, 30, 30, 30, 30};
  for (int attempt = 1; attempt <= 8; ++attempt) EXPECT_EQ(backOff(attempt), waits[attempt - 1]);
  EXPECT_EQ(StreamState::reconnecting(3).label(), "Reconnecting… (try 3)");
}

}  // namespace
}  // namespace tavorin

#include "streaming/StreamFailure.h"

#include <gtest/gtest.h>

#include "streaming/StreamFeed.h"
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

TEST(StreamFeed, KeepsTheNewestAndDropsTheOldest) {
  StreamFeed feed;
  auto a = PixelBuffer::make(2, 2), b = PixelBuffer::make(2, 2), c = PixelBuffer::make(2, 2);
  EXPECT_FALSE(feed.putVideo(a, 1));
  EXPECT_FALSE(feed.putVideo(b, 2));
  EXPECT_TRUE(feed.putVideo(c, 3)) << "the third frame pushes one out";
  auto block = PcmBuffer::make(2, 1024);
  for (int i = 0; i < 40; ++i) {
    block.planes[0][0] = static_cast<float>(i);
    feed.putAudio(block, i);
  }
  StreamFeed::Batch batch;
  ASSERT_TRUE(feed.take(batch));
  ASSERT_EQ(batch.videoCount, 2u);
  EXPECT_EQ(batch.video[0].frame, b);
  EXPECT_EQ(batch.video[1].frame, c);
  ASSERT_EQ(batch.audioCount, StreamFeed::kAudioCapacity);
  EXPECT_EQ(batch.audio[0].when, 8);
  EXPECT_EQ(batch.audio[0].buffer.planes[0][0], 8.0f);
  EXPECT_EQ(batch.audio[31].when, 39);
  EXPECT_EQ(batch.audio[31].buffer.frameLength, 1024u);

  // A pump waiting on an empty feed wakes when it finishes.
  std::thread pump([&] { EXPECT_FALSE(feed.take(batch)); });
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  feed.finish();
  pump.join();
  EXPECT_FALSE(feed.putVideo(a, 4));
}

}  // namespace
}  // namespace tavorin

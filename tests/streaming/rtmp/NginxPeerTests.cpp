#include <gtest/gtest.h>

#include <filesystem>

#include "support/Ffprobe.h"
#include "support/NginxRtmp.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

// The server that the streaming tests publish to records what it receives,
// over plain RTMP and through its TLS front, and comes back on the same port.
TEST(NginxPeer, RecordsOverRtmpAndRtmpsAndRestartsOnItsPorts) {
  testing::NginxRtmp server;
  testing::TempDir logs;

  ASSERT_TRUE(testing::publishWithFfmpeg(server.url("live") + "/k", 2, logs / "rtmp.log"))
      << testing::readFile(logs / "rtmp.log");
  const auto plain = testing::probe(server.recording("live", "k"));
  ASSERT_FALSE(plain.is_null());
  ASSERT_NE(testing::streamOf(plain, "video"), nullptr);
  ASSERT_NE(testing::streamOf(plain, "audio"), nullptr);
  EXPECT_EQ((*testing::streamOf(plain, "video"))["codec_name"], "h264");
  EXPECT_GT(testing::number(plain["format"]["duration"]), 1.5);

  ASSERT_TRUE(testing::publishWithFfmpeg(server.rtmpsURL("live2") + "/s", 1, logs / "rtmps.log"))
      << testing::readFile(logs / "rtmps.log");
  EXPECT_NE(testing::streamOf(testing::probe(server.recording("live2", "s")), "video"), nullptr);

  // The key check refuses any key but the one it knows.
  EXPECT_FALSE(testing::publishWithFfmpeg(server.url("auth") + "/badkey", 1, logs / "bad.log"));
  EXPECT_FALSE(std::filesystem::exists(server.recording("auth", "badkey")));

  const int port = server.rtmpPort();
  server.stop();
  EXPECT_FALSE(testing::publishWithFfmpeg(server.url("live") + "/gone", 1, logs / "gone.log"));
  server.restart();
  EXPECT_EQ(server.rtmpPort(), port);
  ASSERT_TRUE(testing::publishWithFfmpeg(server.url("live3") + "/back", 1, logs / "back.log"))
      << testing::readFile(logs / "back.log");
  EXPECT_NE(testing::streamOf(testing::probe(server.recording("live3", "back")), "video"), nullptr);
}

}  // namespace
}  // namespace tavorin

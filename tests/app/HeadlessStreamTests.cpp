#include <gtest/gtest.h>

#include "peers/NginxRtmp.h"
#include "support/ChildProcess.h"
#include "support/Ffprobe.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::readFile;
using testing::runProcess;

TEST(HeadlessStream, GoesLiveToEachURLAndEndsTheStreamsOnQuit) {
  testing::NginxRtmp nginx;
  testing::TempDir show;
  const auto log = show.path() / "stderr.txt";
  const double seconds = 8;
  const std::optional<int> status =
      runProcess({TAVORIN_EXECUTABLE, "--headless", "--show-dir", show.path().string(), "--demo", "--seconds",
                  std::to_string(seconds), "--stream", nginx.url("live") + "/a", "--stream", nginx.url("live") + "/b",
                  "--stream", "rtmp://nowhere-without-a-key"},
                 log, 90);
  const std::string text = readFile(log);
  ASSERT_EQ(status, std::optional<int>(2)) << "a URL without a key is a usage error\n" << text;

  const std::optional<int> live =
      runProcess({TAVORIN_EXECUTABLE, "--headless", "--show-dir", show.path().string(), "--demo", "--seconds",
                  std::to_string(seconds), "--stream", nginx.url("live") + "/a", "--stream", nginx.url("live") + "/b"},
                 log, 90);
  const std::string liveText = readFile(log);
  ASSERT_EQ(live, std::optional<int>(0)) << liveText;
  EXPECT_EQ(liveText.find("/a"), std::string::npos) << "stream keys stay out of the log";
  for (const char* key : {"a", "b"}) {
    const auto info = testing::probe(nginx.recording("live", key));
    const auto* video = testing::streamOf(info, "video");
    ASSERT_TRUE(video) << key << "\n" << info.dump() << "\n" << liveText;
    EXPECT_EQ((*video)["codec_name"], "h264");
    EXPECT_EQ((*video)["width"], 1280);
    EXPECT_EQ((*video)["height"], 720);
    // Live from soon after launch until quit.
    EXPECT_GT(testing::number(info["format"]["duration"]), seconds / 2) << key;
  }
}

}  // namespace
}  // namespace tavorin

#include <gtest/gtest.h>

#include "app/AppModel.h"
#include "peers/RtspCamera.h"
#include "support/ManualMainQueue.h"
#include "support/TempDir.h"
#include "support/WaitFor.h"

namespace tavorin {
namespace {

TEST(AppModelRTSP, ACameraAddedWithItsPasswordComesBackAfterARestartWithItsSoundAndWithoutThePasswordInTheShowFiles) {
  testing::TempDir show;
  testing::ManualMainQueue queue;
  testing::RtspCamera camera(show.path(), {"--auth", "digest", "op", "pa ss:wörd", "--audio-first"});
  std::string id;
  {
    AppModel model(AppEnvironment{show.path(), show / "preferences.json", queue});
    model.start();
    queue.runUntilIdle();
    EXPECT_FALSE(model.addRTSPSource("http://cam/x", "", "", ""));
    EXPECT_EQ(model.log->back(), "RTSP: the URL must start with rtsp://");

    auto added = model.addRTSPSource("  " + camera.url() + "\n", "", "op", "pa ss:wörd");
    ASSERT_TRUE(added);
    id = *added;
    EXPECT_EQ(id, "rtsp:" + camera.url("op"));
    EXPECT_EQ(model.log->back(), "Added RTSP source “127.0.0.1” — it connects (and reconnects) automatically.");
    EXPECT_FALSE(model.addRTSPSource(camera.url("op"), "Again", "", "")) << "already in the show";
    EXPECT_TRUE(testing::waitFor([&] { return model.frameSlots.latestFrame(id) != nullptr; }, 15));
  }
  for (const char* file : {"sources.json", "preferences.json"}) {
    EXPECT_EQ(testing::readFile(show / file).find("wörd"), std::string::npos) << file;
  }
  AppModel model(AppEnvironment{show.path(), show / "preferences.json", queue});
  model.start();
  queue.runUntilIdle();
  ASSERT_TRUE(model.sourceLifecycle.find(id));
  EXPECT_TRUE(testing::waitFor([&] { return model.frameSlots.latestFrame(id) != nullptr; }, 15));
  // The camera's sound comes in on a channel of its own, which goes with the camera.
  auto hasChannel = [&] {
    queue.runUntilIdle();
    const auto& channels = model.audioMixer.channels.get();
    return std::any_of(channels.begin(), channels.end(), [&](const ChannelInfo& c) { return c.id == id; });
  };
  EXPECT_TRUE(testing::waitFor(hasChannel, 10));
  model.removeSource(id);
  EXPECT_FALSE(hasChannel());
  EXPECT_EQ(std::count_if(model.log->begin(), model.log->end(), [](const std::string& l) { return l.starts_with("RTSP"); }), 0);
}

}  // namespace
}  // namespace tavorin

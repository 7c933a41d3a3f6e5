#include "platform/portal/PortalScreenCapture.h"

#include <gtest/gtest.h>

#include <mutex>

#include "peers/PrivatePipeWire.h"
#include "support/ChildProcess.h"
#include "support/TempDir.h"
#include "support/WaitFor.h"

namespace tavorin {
namespace {

// The whole way on a Wayland desktop: the portal grants a node of the
// session's PipeWire, and its pictures come through.
TEST(PortalScreenCapture, ASharedScreenIsReadFromThePortalsNodeAndItsTokenKept) {
  testing::PrivatePipeWire pipewire;
  testing::TempDir dir;
  // Solid B 30, G 60, R 200, as a compositor's screen cast sends it.
  auto screen = pipewire.startCamera("shared-screen",
                                     "videotestsrc is-live=true pattern=solid-color foreground-color=0xffc83c1e",
                                     "video/x-raw,format=BGRx,width=1280,height=720,framerate=30/1");
  const auto node = pipewire.nodeId("shared-screen");
  ASSERT_TRUE(node);
  testing::ChildProcess portal({"/usr/bin/python3", TAVORIN_TESTS_DIR "/peers/scripts/screencast_portal.py",
                                (dir / "calls.jsonl").string(), *node},
                               dir / "portal.log");

  PortalScreenBackend backend;
  ASSERT_TRUE(testing::waitFor([&] { return std::holds_alternative<ScreenTargets>(backend.enumerate()); }))
      << testing::logTail(dir / "portal.log");
  const auto targets = std::get<ScreenTargets>(backend.enumerate());
  ASSERT_EQ(targets.displays.size(), 1u);
  ASSERT_TRUE(targets.displays[0].screenShare);

  ScreenTarget target;
  target.display = targets.displays[0];
  auto capture = backend.makeCapture();
  std::mutex lock;
  PixelBufferRef latest;
  std::vector<std::string> stops;
  auto error = capture->start(
      target, {1920, 1080},
      [&](PixelBufferRef frame) {
        std::lock_guard hold(lock);
        latest = std::move(frame);
      },
      [&](const std::string& why) {
        std::lock_guard hold(lock);
        stops.push_back(why);
      });
  ASSERT_FALSE(error) << *error;
  EXPECT_EQ(capture->screenShareToken(), "granted-1");
  EXPECT_EQ(capture->nativeSize(), std::pair(1280, 720));
  ASSERT_TRUE(testing::waitFor([&] {
    std::lock_guard hold(lock);
    return latest != nullptr;
  }));
  {
    std::lock_guard hold(lock);
    ASSERT_EQ(std::pair(latest->width(), latest->height()), std::pair(1280, 720));
    const std::uint8_t* pixel = latest->row(360) + 640 * 4;
    EXPECT_NEAR(pixel[0], 30, 3);
    EXPECT_NEAR(pixel[1], 60, 3);
    EXPECT_NEAR(pixel[2], 200, 3);
    EXPECT_EQ(pixel[3], 255);
  }
  screen.reset();
  EXPECT_TRUE(testing::waitFor([&] {
    std::lock_guard hold(lock);
    return !stops.empty();
  })) << "the share ends with its node";
  capture->stop();
}

}  // namespace
}  // namespace tavorin

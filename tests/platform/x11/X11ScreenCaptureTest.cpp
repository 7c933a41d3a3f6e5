#include <gtest/gtest.h>

#include <thread>

#include "platform/x11/CapturedFrames.h"
#include "peers/PrivateXServer.h"
#include "platform/x11/TestClient.h"
#include "platform/x11/X11ScreenBackend.h"
#include "support/WaitFor.h"

namespace tavorin {
namespace {

using testing::pixelAt;
using testing::waitFor;

constexpr std::uint32_t kRed = 0xff0000, kGreen = 0x00ff00, kBlue = 0x0000ff, kYellow = 0xffff00;
constexpr std::uint32_t kOpaque = 0xff000000u;

ScreenTarget displayTarget() {
  auto targets = std::get<ScreenTargets>(X11ScreenBackend().enumerate());
  ScreenTarget target;
  target.display = targets.displays.front();
  return target;
}

// Waits for a frame that satisfies `check`.
bool frameWhere(const testing::CapturedFrames& frames, const std::function<bool(const PixelBuffer&)>& check) {
  return waitFor([&] {
    const FrameRef frame = frames.last();
    return frame && check(*frame);
  });
}

class X11ScreenCaptureTest : public ::testing::Test {
 protected:
  std::unique_ptr<ScreenCapture> startCapture(const ScreenTarget& target, CaptureLimits limits = {3840, 2160}) {
    auto capture = X11ScreenBackend().makeCapture();
    const auto error = capture->start(target, limits, frames.onFrame(), frames.onStopped());
    EXPECT_FALSE(error) << *error;
    return capture;
  }

  testing::PrivateXServer server{1600, 1000};
  testing::TestClient client;
  testing::CapturedFrames frames;
};

TEST_F(X11ScreenCaptureTest, DisplayShowsDrawingAndSendsNothingWhileIdle) {
  auto capture = startCapture(displayTarget());
  ASSERT_TRUE(waitFor([&] { return frames.count() >= 1; }));
  // Nothing changes on screen and the pointer rests: no frame in half a second.
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  EXPECT_EQ(frames.count(), 1);
  EXPECT_EQ(capture->nativeSize(), std::make_pair(1600, 1000));

  const Window window = client.create({.title = "Red", .x = 300, .y = 200, .rgb = kRed});
  EXPECT_TRUE(frameWhere(frames, [](const PixelBuffer& f) { return pixelAt(f, 350, 250) == (kOpaque | kRed); }));
  client.fill(window, kBlue);
  EXPECT_TRUE(frameWhere(frames, [](const PixelBuffer& f) { return pixelAt(f, 350, 250) == (kOpaque | kBlue); }));
  EXPECT_EQ(pixelAt(*frames.last(), 100, 100), kOpaque);
}

TEST_F(X11ScreenCaptureTest, PointerIsDrawnWhereItIs) {
  client.showCursor();
  client.movePointer(400, 400);
  auto capture = startCapture(displayTarget());
  const auto drawnNear = [](const PixelBuffer& frame, int x, int y) {
    for (int dy = -16; dy < 16; ++dy) {
      for (int dx = -16; dx < 16; ++dx) {
        if (pixelAt(frame, x + dx, y + dy) != kOpaque) return true;
      }
    }
    return false;
  };
  EXPECT_TRUE(frameWhere(frames, [&](const PixelBuffer& f) { return drawnNear(f, 400, 400); }));
  client.movePointer(1000, 700);
  EXPECT_TRUE(frameWhere(frames, [&](const PixelBuffer& f) { return drawnNear(f, 1000, 700) && !drawnNear(f, 400, 400); }));
}

TEST_F(X11ScreenCaptureTest, ExcludedWindowIsLeftOutUntilTheExclusionIsCleared) {
  const Window red = client.create({.title = "Red", .x = 100, .y = 100, .rgb = kRed});
  client.create({.title = "Green", .x = 600, .y = 100, .rgb = kGreen});
  auto capture = startCapture(displayTarget());
  const auto shows = [&](std::uint32_t atRed) {
    return frameWhere(frames, [&](const PixelBuffer& f) {
      return pixelAt(f, 150, 150) == (kOpaque | atRed) && pixelAt(f, 650, 150) == (kOpaque | kGreen);
    });
  };
  EXPECT_TRUE(shows(kRed));
  capture->setExcludedWindows({static_cast<std::uint32_t>(red)});
  EXPECT_TRUE(shows(0));
  capture->setExcludedWindows({});
  EXPECT_TRUE(shows(kRed));
}

TEST_F(X11ScreenCaptureTest, WindowFollowsItsContentAndSizeUntilClosed) {
  const Window window = client.create({.title = "Blue", .x = 200, .y = 200, .width = 300, .height = 200, .rgb = kBlue});
  // Another window over it must not show in its picture.
  client.create({.title = "Cover", .x = 250, .y = 250, .rgb = kGreen});
  ScreenTarget target;
  target.kind = ScreenTarget::Kind::window;
  target.window.id = static_cast<std::uint32_t>(window);
  auto capture = startCapture(target);
  EXPECT_TRUE(frameWhere(frames, [](const PixelBuffer& f) {
    return f.width() == 300 && f.height() == 200 && pixelAt(f, 100, 100) == (kOpaque | kBlue);
  }));
  client.fill(window, kYellow);
  EXPECT_TRUE(frameWhere(frames, [](const PixelBuffer& f) { return pixelAt(f, 100, 100) == (kOpaque | kYellow); }));
  client.resize(window, 400, 250);
  EXPECT_TRUE(frameWhere(frames, [](const PixelBuffer& f) { return f.width() == 400 && f.height() == 250; }));
  EXPECT_EQ(capture->nativeSize(), std::make_pair(400, 250));
  client.destroy(window);
  EXPECT_TRUE(waitFor([&] { return frames.stopped().has_value(); }));
}

TEST_F(X11ScreenCaptureTest, ApplicationWindowsAreComposedOnATransparentCanvas) {
  client.create({.title = "One", .x = 100, .y = 100, .rgb = kRed, .appID = "org.tavorin.App"});
  client.create({.title = "Two", .x = 700, .y = 500, .rgb = kGreen, .appID = "org.tavorin.App"});
  client.create({.title = "Other", .x = 1100, .y = 100, .rgb = kBlue, .appID = "org.tavorin.Other"});
  ScreenTarget target = displayTarget();
  target.kind = ScreenTarget::Kind::application;
  target.application = {"org.tavorin.App", "App"};
  auto capture = startCapture(target);
  EXPECT_TRUE(frameWhere(frames, [](const PixelBuffer& f) {
    return f.width() == 1600 && pixelAt(f, 150, 150) == (kOpaque | kRed) && pixelAt(f, 750, 550) == (kOpaque | kGreen) &&
           pixelAt(f, 1150, 150) == 0 && pixelAt(f, 50, 50) == 0;
  }));
}

TEST(X11ScreenCaptureConnection, ServerGoingAwayStopsTheCaptureNotTheProcess) {
  testing::PrivateXServer server(640, 480);
  testing::CapturedFrames frames;
  auto capture = X11ScreenBackend().makeCapture();
  ASSERT_FALSE(capture->start(displayTarget(), {}, frames.onFrame(), frames.onStopped()));
  ASSERT_TRUE(waitFor([&] { return frames.count() >= 1; }));
  server.kill();
  EXPECT_TRUE(waitFor([&] { return frames.stopped().has_value(); }));
}

TEST(X11ScreenCaptureScaling, A4KScreenComesAtTheLimits) {
  testing::PrivateXServer server(3840, 2160);
  testing::TestClient client;
  client.create({.title = "Green", .x = 0, .y = 0, .width = 800, .height = 800, .rgb = kGreen});
  testing::CapturedFrames frames;
  auto capture = X11ScreenBackend().makeCapture();
  ASSERT_FALSE(capture->start(displayTarget(), {1920, 1080}, frames.onFrame(), frames.onStopped()));
  ASSERT_TRUE(waitFor([&] { return frames.count() >= 1; }));
  const FrameRef frame = frames.last();
  EXPECT_EQ(std::make_pair(frame->width(), frame->height()), std::make_pair(1920, 1080));
  EXPECT_EQ(capture->nativeSize(), std::make_pair(3840, 2160));
  // The window's half-size place: green, within the scaler's rounding.
  const std::uint32_t pixel = pixelAt(*frame, 200, 200);
  EXPECT_GE((pixel >> 8) & 0xff, 250u);
  EXPECT_LE((pixel >> 16) & 0xff, 5u);
  EXPECT_EQ(pixel >> 24, 0xffu);
}

}  // namespace
}  // namespace tavorin

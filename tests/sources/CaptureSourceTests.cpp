#include <gtest/gtest.h>

#include <atomic>
#include <mutex>

#include "sources/CameraSource.h"
#include "sources/ScreenCaptureSource.h"
#include "support/FakeCapture.h"
#include "support/ManualMainQueue.h"
#include "support/WaitFor.h"

namespace tavorin {
namespace {

using testing::FakeCamera;
using testing::FakeCapture;
using testing::FakeScreenBackend;
using testing::ManualMainQueue;
using testing::windowTarget;

class ScreenSourceTest : public ::testing::Test {
 protected:
  // Serves the main queue until the source's own queue has answered.
  void settle(const std::function<bool()>& done) {
    ASSERT_TRUE(testing::waitFor([&] {
      queue.runUntilIdle();
      return done();
    }));
  }
  void startSource() {
    bool finished = false;
    source.start([&](std::optional<std::string> error) {
      finished = true;
      EXPECT_FALSE(error) << *error;
    });
    settle([&] { return finished; });
  }
  void stopBySystem(const std::string& why) {
    std::function<void(const std::string&)> stopped;
    {
      std::lock_guard hold(backend.lock);
      stopped = backend.live.onStopped;
    }
    ASSERT_TRUE(stopped);
    stopped(why);
    queue.runUntilIdle();
  }

  ManualMainQueue queue;
  FakeScreenBackend backend;
  std::vector<std::string> log;
  ScreenCaptureSource source{windowTarget(7, "Slides", "org.example.Impress"), backend, queue,
                             [this](std::string line) { log.push_back(line); }};
};

TEST_F(ScreenSourceTest, AClosedWindowIsRetriedEvery3SecondsAndFoundAgainByTitleAndApplication) {
  EXPECT_EQ(source.id(), "window:7");
  startSource();
  ASSERT_TRUE(source.isRunning());
  auto frame = PixelBuffer::make(4, 4);
  backend.live.onFrame(frame);
  EXPECT_EQ(source.latestFrame(), frame) << "frames go straight into the slot";

  stopBySystem("window closed");
  EXPECT_EQ(log.back(), "ScreenCaptureSource 'window:7' stopped: window closed — scheduling restart");
  EXPECT_TRUE(source.isRetryPending());
  stopBySystem("window closed");
  EXPECT_EQ(log.size(), 2u);

  // Gone for now: the restart fails and tries again 3 s later.
  backend.failStarts = true;
  queue.advance(ScreenCaptureSource::kRetryDelay);
  settle([&] { return !source.isRestarting(); });
  EXPECT_EQ(log.back(), "ScreenCaptureSource 'window:7' restart failed (target gone) — retrying");
  EXPECT_TRUE(source.isRetryPending());
  EXPECT_FALSE(source.isRunning());
  source.restart();
  source.restart();
  EXPECT_FALSE(source.isRetryPending()) << "a restart takes the pending retry's place";
  settle([&] { return !source.isRestarting(); });

  // The application opens the window again: same title and owner, another id.
  {
    std::lock_guard hold(backend.lock);
    backend.failStarts = false;
    backend.targets.windows = {windowTarget(9, "Notes", "org.example.Impress").window,
                               windowTarget(12, "Slides", "org.example.Impress").window};
  }
  const std::size_t startsBefore = backend.started.size();
  queue.advance(ScreenCaptureSource::kRetryDelay);
  settle([&] { return source.isRunning(); });
  EXPECT_EQ(backend.started.size(), startsBefore + 1) << "one restart, however many asked for it";
  EXPECT_EQ(source.target().window.id, 12u);
  EXPECT_EQ(backend.started.back().window.id, 12u);
  EXPECT_FALSE(source.isRetryPending());
}

TEST_F(ScreenSourceTest, ExclusionsReachADisplayCaptureWithoutARestart) {
  ScreenTarget display;
  display.display = {0xabcd, "DP-1", 0, 0, 1920, 1080};
  ScreenCaptureSource screen(display, backend, queue, [](std::string) {});
  EXPECT_EQ(screen.id(), "display:43981");
  EXPECT_EQ(screen.displayName(), "Display DP-1");
  bool started = false;
  screen.start([&](auto) { started = true; });
  settle([&] { return started; });
  screen.updateExclusions({3, 4});
  settle([&] {
    std::lock_guard hold(backend.lock);
    return backend.excluded == std::set<std::uint32_t>{3, 4};
  });
  EXPECT_EQ(backend.started.size(), 1u);
}

TEST(ScreenTargetsTest, FoundAgainAndNamed) {
  ScreenTargets now;
  now.displays = {{1, "HDMI-1", 0, 0, 1280, 720}, {2, "DP-1", 1280, 0, 1920, 1080}};
  now.windows = {windowTarget(5, "", "org.example.Term").window};
  now.applications = {{"org.example.Term", "Terminal"}};
  ScreenTarget app;
  app.kind = ScreenTarget::Kind::application;
  app.application = {"org.example.Term", "Terminal"};
  app.display.id = 2;
  ScreenTarget gone = app;
  gone.application.appID = "org.example.Gone";
  ScreenTarget lostDisplay = app;
  lostDisplay.display.id = 99;
  struct Row {
    const char* what;
    ScreenTarget target;
    std::optional<std::uint32_t> display;  // the display it is captured on, when found
  } rows[] = {{"an application on its own display", app, 2},
              {"an application whose display went: the first", lostDisplay, 1},
              {"an application no longer running", gone, std::nullopt}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    const auto found = findAgain(row.target, now);
    ASSERT_EQ(found.has_value(), row.display.has_value());
    if (found) {
      EXPECT_EQ(found->display.id, *row.display);
    }
  }
  EXPECT_EQ(ScreenCaptureSource::nameFor(windowTarget(5, "", "org.example.Term")), "org.example.Term name");
  ScreenTarget nameless = windowTarget(5, "", "");
  nameless.window.appName.clear();
  EXPECT_EQ(ScreenCaptureSource::nameFor(nameless), "Window");
}

TEST(CameraSourceTest, AnUnpluggedCameraStopsAndSaysSoAndStartsAgainWhenBack) {
  ManualMainQueue queue;
  FakeCapture live;
  std::optional<std::string> failure;
  std::vector<std::string> log;
  CameraSource camera({"usb-Cam_123-video-index0", "Desk camera", CameraDevice::Route::v4l2, "/dev/video0", 0},
                      [&](const CameraDevice&) { return std::make_unique<FakeCamera>(failure, live); }, queue,
                      [&](std::string line) { log.push_back(line); });
  EXPECT_EQ(camera.id(), "camera:usb-Cam_123-video-index0");
  std::optional<std::string> result;
  bool finished = false;
  auto start = [&] {
    finished = false;
    camera.start([&](std::optional<std::string> error) {
      finished = true;
      result = error;
    });
    ASSERT_TRUE(testing::waitFor([&] {
      queue.runUntilIdle();
      return finished;
    }));
  };
  start();
  ASSERT_FALSE(result);
  EXPECT_TRUE(camera.isRunning());

  live.onStopped("Camera disconnected.");
  queue.runUntilIdle();
  EXPECT_FALSE(camera.isRunning());
  EXPECT_EQ(log, std::vector<std::string>{"Camera “Desk camera” stopped: Camera disconnected."});

  failure = "Camera is busy — another application is using it.";
  start();
  EXPECT_EQ(result, failure);
  EXPECT_FALSE(camera.isRunning());
  failure.reset();
  start();
  EXPECT_TRUE(camera.isRunning());
}

}  // namespace
}  // namespace tavorin

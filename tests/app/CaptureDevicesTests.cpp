#include <gtest/gtest.h>

#include <algorithm>

#include "app/AppModel.h"
#include "sources/CameraSource.h"
#include "sources/ScreenCaptureSource.h"
#include "support/FakeCapture.h"
#include "support/ManualMainQueue.h"
#include "support/TempDir.h"
#include "support/WaitFor.h"

namespace tavorin {
namespace {

using testing::FakeCameraDirectory;
using testing::FakeScreenBackend;
using testing::ManualMainQueue;
using testing::windowTarget;

const CameraDevice kDeskCamera{"usb-Desk_Cam-video-index0", "Desk camera", CameraDevice::Route::v4l2, "/dev/video0", 0};

class CaptureDevicesTest : public ::testing::Test {
 protected:
  CaptureDevicesTest() {
    screens.targets.displays = {{0x1234, "DP-1", 0, 0, 1920, 1080}};
    screens.targets.windows = {windowTarget(5, "Slides", "org.example.Impress").window};
    screens.targets.applications = {{"org.example.Impress", "Impress"}};
  }

  std::unique_ptr<AppModel> makeModel() {
    AppEnvironment environment{show.path(), show / "preferences.json", queue};
    environment.cameraDirectory = &cameras;
    environment.screenCapture = &screens;
    auto model = std::make_unique<AppModel>(std::move(environment));
    model->start();
    return model;
  }
  // Serves the main queue until `done`: enumerations and starts answer from their own threads.
  void settle(const std::function<bool()>& done) {
    ASSERT_TRUE(testing::waitFor([&] {
      queue.runUntilIdle();
      return done();
    }));
  }
  static bool has(const AppModel& model, const std::string& line) {
    const auto& log = model.log.get();
    return std::find(log.begin(), log.end(), line) != log.end();
  }

  testing::TempDir show;
  ManualMainQueue queue;
  FakeCameraDirectory cameras;
  FakeScreenBackend screens;
};

TEST_F(CaptureDevicesTest, StoredCapturesComeBackWithTheirIDsWhenTheirDevicesDo) {
  cameras.list = {kDeskCamera};
  {
    auto model = makeModel();
    settle([&] { return has(*model, "Screen targets: 1 displays, 1 windows, 1 apps."); });
    EXPECT_EQ(model->capture.addCamera(kDeskCamera.uniqueID), "camera:usb-Desk_Cam-video-index0");
    EXPECT_EQ(model->capture.addWindow(5), "window:5");
    EXPECT_EQ(model->capture.addDisplay(0x1234), "display:4660");
    EXPECT_EQ(model->capture.addApplication("org.example.Impress"), "app:org.example.Impress");
    EXPECT_FALSE(model->capture.addWindow(6)) << "no such window";
    model->capture.setCaptureQuality("window:5", CaptureQuality::hd720);
    settle([&] { return model->sourceLifecycle.find("window:5")->isRunning(); });
  }

  // The next run: the window was opened again under another id, the camera is not plugged in yet.
  cameras.list.clear();
  screens.targets.windows = {windowTarget(9, "Slides", "org.example.Impress").window};
  auto model = makeModel();
  settle([&] { return model->sourceLifecycle.find("window:5") != nullptr; });
  auto window = std::dynamic_pointer_cast<ScreenCaptureSource>(model->sourceLifecycle.find("window:5"));
  ASSERT_TRUE(window) << "the scenes still name it by its stored id";
  EXPECT_EQ(window->target().window.id, 9u);
  EXPECT_EQ(window->quality(), CaptureQuality::hd720);
  EXPECT_TRUE(model->sourceLifecycle.find("display:4660") && model->sourceLifecycle.find("app:org.example.Impress"));
  EXPECT_FALSE(model->sourceLifecycle.find("camera:usb-Desk_Cam-video-index0")) << "no device yet";
  EXPECT_EQ(model->sourcesStore.saved->size(), 4u) << "nothing stored is lost meanwhile";

  // Plugged in: the camera comes back; unplugged and plugged again, it starts again.
  cameras.set({kDeskCamera});
  settle([&] {
    auto camera = model->sourceLifecycle.find("camera:usb-Desk_Cam-video-index0");
    return camera && camera->isRunning();
  });
  auto camera = model->sourceLifecycle.find("camera:usb-Desk_Cam-video-index0");
  cameras.live.onStopped("Camera disconnected.");
  settle([&] { return !camera->isRunning(); });
  EXPECT_TRUE(has(*model, "Camera “Desk camera” stopped: Camera disconnected."));
  cameras.set({});
  cameras.set({kDeskCamera});
  settle([&] { return camera->isRunning(); });
}

// A Wayland desktop lists one "screen share"; what the operator chose in its
// dialog comes back at the next run through the token the portal granted.
TEST_F(CaptureDevicesTest, AScreenShareKeepsItsTokenForTheNextRun) {
  screens.targets = {};
  screens.targets.displays = {{7, "Screen or window (choose…)", 0, 0, 0, 0, true}};
  screens.grantToken = "granted-1";
  std::string id;
  {
    auto model = makeModel();
    settle([&] { return !model->capture.screenTargets->displays.empty(); });
    id = model->capture.addDisplay(7).value_or("");
    ASSERT_NE(id, "display:7") << "each share is a source of its own";
    settle([&] { return model->sourcesStore.saved->front().screenShareToken == "granted-1"; });
    EXPECT_EQ(model->sourceLifecycle.find(id)->displayName(), "Screen share");
    EXPECT_TRUE(screens.started.back().screenShareToken.empty()) << "the first time the dialog asks";
  }
  auto model = makeModel();
  settle([&] { return model->sourceLifecycle.find(id) && model->sourceLifecycle.find(id)->isRunning(); });
  EXPECT_EQ(screens.started.back().screenShareToken, "granted-1");
}

TEST_F(CaptureDevicesTest, WarningsNameWhatCannotCapture) {
  cameras.list = {kDeskCamera};
  cameras.failure = std::string(CaptureDevices::kCameraDenied);
  screens.problem = "Screen capture unavailable — no X11 display (on Wayland, allow the screen-share dialog).";
  SavedSource display;
  display.id = "display:4660";
  display.kind = SavedSource::Kind::display;
  display.displayID = 0x1234;
  auto model = makeModel();
  settle([&] { return model->capture.screenCaptureProblem.get().has_value(); });
  EXPECT_TRUE(model->capture.permissionWarnings().empty()) << "no screen source, no camera: nothing to warn of";
  model->sourcesStore.upsert(display);
  ASSERT_TRUE(model->capture.addCamera(kDeskCamera.uniqueID));
  settle([&] { return model->capture.permissionWarnings().size() == 2; });
  EXPECT_EQ(model->capture.permissionWarnings(), (std::vector<std::string>{*screens.problem,
                                                                            std::string(CaptureDevices::kCameraDenied)}));
  EXPECT_TRUE(has(*model, "Screen capture enumeration failed: " + *screens.problem));
}

}  // namespace
}  // namespace tavorin

#include "platform/camera/SystemCameraDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>

#include "peers/PrivatePipeWire.h"
#include "support/ManualMainQueue.h"
#include "support/TempDir.h"
#include "support/WaitFor.h"

namespace tavorin {
namespace {

using testing::ManualMainQueue;
using testing::PrivatePipeWire;
using testing::waitFor;

bool lists(const CameraDirectory& directory, const std::string& id) {
  const auto cameras = directory.cameras();
  return std::any_of(cameras.begin(), cameras.end(), [&](const CameraDevice& c) { return c.uniqueID == id; });
}

TEST(SystemCameraDirectory, PipeWireCameraIsListedCapturedInItsColoursAndSeenToGoAndReturn) {
  PrivatePipeWire pipewire;
  testing::TempDir noV4L2;
  ManualMainQueue queue;
  SystemCameraDirectory directory(queue, {noV4L2.path()});
  int changes = 0;
  directory.onChanged = [&] { ++changes; };
  // Main-thread hops run whenever the test looks.
  auto listed = [&](bool present) {
    return waitFor([&] {
      queue.runUntilIdle();
      return lists(directory, "testcam") == present;
    }, 2.0);
  };

  struct Case {
    const char* colorimetry;
    int width, height;
  };
  // GStreamer's PipeWire sink does not pass colorimetry on, so each matrix
  // comes at the size whose default it is; the colour is wrong under the other.
  for (const Case& c : {Case{"bt709", 1280, 720}, Case{"bt601", 640, 480}}) {
    SCOPED_TRACE(c.colorimetry);
    const int before = changes;
    // Solid B 30, G 60, R 200.
    auto node = pipewire.startCamera(
        "testcam", "videotestsrc is-live=true pattern=solid-color foreground-color=0xffc83c1e",
        "video/x-raw,format=YUY2,width=" + std::to_string(c.width) + ",height=" + std::to_string(c.height) +
            ",framerate=30/1,colorimetry=" + c.colorimetry);
    ASSERT_TRUE(listed(true));
    EXPECT_GT(changes, before);
    const auto cameras = directory.cameras();
    const auto camera = *std::find_if(cameras.begin(), cameras.end(), [](auto& d) { return d.uniqueID == "testcam"; });
    EXPECT_EQ(camera.route, CameraDevice::Route::pipewire);
    EXPECT_GT(camera.serial, 0u);

    std::mutex mutex;
    // The pool's buffers come back only when dropped: keep the first and the latest.
    PixelBufferRef first, latest;
    int frames = 0;
    std::vector<std::string> stops;
    auto capture = directory.open(camera, nullptr);
    ASSERT_EQ(capture->start({1920, 1080},
                             [&](PixelBufferRef frame) {
                               std::lock_guard lock(mutex);
                               if (!first) first = frame;
                               latest = std::move(frame);
                               ++frames;
                             },
                             [&](const std::string& why) {
                               std::lock_guard lock(mutex);
                               stops.push_back(why);
                             }),
              std::nullopt);
    ASSERT_TRUE(waitFor([&] {
      std::lock_guard lock(mutex);
      return frames >= 20;
    }, 10.0));
    {
      std::lock_guard lock(mutex);
      const PixelBuffer& frame = *latest;
      EXPECT_EQ(frame.width(), c.width);
      EXPECT_EQ(frame.height(), c.height);
      const std::uint8_t* px = frame.row(c.height / 2) + 4 * (c.width / 2);
      EXPECT_NEAR(px[0], 30, 3);
      EXPECT_NEAR(px[1], 60, 3);
      EXPECT_NEAR(px[2], 200, 3);
      EXPECT_EQ(px[3], 255);
      // About the source's 30 fps by the frames' own stamps (the newest-only rule may skip some).
      const double interval = (latest->hostTime() - first->hostTime()) / (frames - 1);
      EXPECT_GT(interval, 1 / 60.0);
      EXPECT_LT(interval, 1 / 10.0);
    }

    node.reset();
    EXPECT_TRUE(waitFor([&] {
      std::lock_guard lock(mutex);
      return !stops.empty();
    }));
    capture->stop();
    EXPECT_EQ(stops, std::vector<std::string>{"Camera disconnected."});
    EXPECT_TRUE(listed(false));
  }
}

}  // namespace
}  // namespace tavorin

#include "platform/v4l2/V4L2CameraCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>

#include "platform/v4l2/FakeV4L2Device.h"
#include "support/WaitFor.h"

namespace tavorin {
namespace {

using testing::FakeFormat;
using testing::FakeNode;
using testing::FakeV4L2Device;
using testing::waitFor;

constexpr const char* camera = "/dev/video0";

// Solid grey YUYV: luma `y`, neutral chroma.
auto grey(std::uint8_t y) {
  return [y](int, std::uint8_t* data, std::size_t length) {
    for (std::size_t i = 0; i + 1 < length; i += 2) {
      data[i] = y;
      data[i + 1] = 128;
    }
  };
}

// What the capture hands over, collected for the test thread.
struct Received {
  std::mutex mutex;
  std::vector<PixelBufferRef> frames;
  std::vector<std::string> stops;
  std::vector<std::string> log;

  CameraCapture::FrameCallback onFrame() {
    return [this](PixelBufferRef frame) {
      std::lock_guard lock(mutex);
      frames.push_back(std::move(frame));
    };
  }
  CameraCapture::StoppedCallback onStopped() {
    return [this](const std::string& why) {
      std::lock_guard lock(mutex);
      stops.push_back(why);
    };
  }
  CameraCapture::LogCallback logger() {
    return [this](const std::string& line) {
      std::lock_guard lock(mutex);
      log.push_back(line);
    };
  }
  std::size_t frameCount() {
    std::lock_guard lock(mutex);
    return frames.size();
  }
};

TEST(V4L2CameraCapture, OnlyTheNewestReadyBufferIsConvertedAndTheOthersGoBack) {
  FakeV4L2Device io;
  io.addNode(camera, FakeNode{.formats = {FakeFormat{V4L2_PIX_FMT_YUYV, 64, 48, {30}}}});
  Received received;
  V4L2CameraCapture capture(io, camera, received.logger());
  ASSERT_EQ(capture.start({}, received.onFrame(), received.onStopped()), std::nullopt);
  ASSERT_TRUE(waitFor([&] { return io.queuedCount() == 4; }));

  ASSERT_TRUE(io.makeReady(3, [](int position, std::uint8_t* data, std::size_t length) {
    grey(static_cast<std::uint8_t>(60 * (position + 1)))(position, data, length);
  }, 500.0));
  ASSERT_TRUE(waitFor([&] { return io.requeued().size() == 3; }));
  capture.stop();

  EXPECT_EQ(io.requeued(), (std::vector<std::uint32_t>{0, 1, 2}));
  ASSERT_EQ(received.frames.size(), 1u);
  const PixelBuffer& frame = *received.frames[0];
  EXPECT_EQ(frame.width(), 64);
  // Luma 180 in limited range.
  EXPECT_NEAR(frame.row(10)[10 * 4 + 1], (180 - 16) * 255 / 219, 2);
  EXPECT_NEAR(frame.hostTime(), 500.0 + 2 / 30.0, 1e-5);
  EXPECT_FALSE(io.streaming());
}

TEST(V4L2CameraCapture, RefusalsComeBackInTheOperatorsWords) {
  struct Case {
    FakeNode node;
    std::string expected;
  };
  const std::string denied = "Camera access denied — add yourself to the 'video' group or check /dev/video* permissions.";
  const std::string busy = "Camera is busy — another application is using it.";
  const std::vector<Case> cases{{FakeNode{.openError = EACCES}, denied},
                                {FakeNode{.openError = EPERM}, denied},
                                {FakeNode{.setFormatError = EBUSY}, busy},
                                {FakeNode{.streamOnError = EBUSY}, busy}};
  for (const auto& c : cases) {
    FakeV4L2Device io;
    io.addNode(camera, c.node);
    V4L2CameraCapture capture(io, camera, nullptr);
    EXPECT_EQ(capture.start({}, nullptr, nullptr), c.expected);
    EXPECT_FALSE(capture.format());
  }
}

TEST(V4L2CameraCapture, UnpluggedMidStreamStopsWithDisconnected) {
  FakeV4L2Device io;
  io.addNode(camera, FakeNode{});
  Received received;
  V4L2CameraCapture capture(io, camera, nullptr);
  ASSERT_EQ(capture.start({}, received.onFrame(), received.onStopped()), std::nullopt);
  io.unplug();
  ASSERT_TRUE(waitFor([&] {
    std::lock_guard lock(received.mutex);
    return !received.stops.empty();
  }));
  capture.stop();
  EXPECT_EQ(received.stops, std::vector<std::string>{"Camera disconnected."});
}

TEST(V4L2CameraCapture, NewLimitsChooseAgainAndARefusedChangeKeepsTheOldFormat) {
  struct Case {
    const char* name;
    bool refused;
    int expectedWidth;
    std::size_t logLines;
  };
  for (const Case& c : {Case{"accepted", false, 640, 0}, Case{"refused", true, 1280, 1}}) {
    FakeV4L2Device io;
    io.addNode(camera, FakeNode{.formats = {FakeFormat{V4L2_PIX_FMT_YUYV, 1280, 720, {30}},
                                            FakeFormat{V4L2_PIX_FMT_YUYV, 640, 360, {30}, c.refused}}});
    Received received;
    V4L2CameraCapture capture(io, camera, received.logger());
    ASSERT_EQ(capture.start({1920, 1080}, received.onFrame(), received.onStopped()), std::nullopt) << c.name;
    ASSERT_EQ(capture.format()->width, 1280) << c.name;

    capture.setLimits({640, 360});
    ASSERT_TRUE(capture.format()) << c.name;
    EXPECT_EQ(capture.format()->width, c.expectedWidth) << c.name;
    ASSERT_EQ(received.log.size(), c.logLines) << c.name;
    if (c.logLines) {
      EXPECT_EQ(received.log[0], "CameraSource: device rejected format change — asked for YUYV 640x360, got 1280x720");
    }

    // Either way the pictures arrive at the new limits.
    ASSERT_TRUE(waitFor([&] { return io.queuedCount() == 4; })) << c.name;
    ASSERT_TRUE(io.makeReady(1, grey(120), 1.0));
    ASSERT_TRUE(waitFor([&] { return received.frameCount() == 1; })) << c.name;
    capture.stop();
    EXPECT_EQ(received.frames[0]->width(), 640) << c.name;
    EXPECT_EQ(received.frames[0]->height(), 360) << c.name;
    EXPECT_TRUE(received.stops.empty()) << c.name;
  }
}

}  // namespace
}  // namespace tavorin

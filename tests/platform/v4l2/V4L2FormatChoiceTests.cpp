#include "platform/v4l2/V4L2FormatChoice.h"

#include <gtest/gtest.h>

#include "platform/v4l2/FakeV4L2Device.h"

namespace tavorin {
namespace {

constexpr std::uint32_t yuyv = V4L2_PIX_FMT_YUYV;
constexpr std::uint32_t mjpg = V4L2_PIX_FMT_MJPEG;
constexpr std::uint32_t nv12 = V4L2_PIX_FMT_NV12;

struct Case {
  const char* name;
  std::vector<V4L2FormatOption> options;
  CaptureLimits limits;
  V4L2FormatOption expected;
};

TEST(V4L2FormatChoice, PicksBySizeThenByFormat) {
  const std::vector<Case> cases{
      {"largest within the limits",
       {{yuyv, 640, 480, 30}, {yuyv, 1280, 720, 30}, {yuyv, 3840, 2160, 30}, {yuyv, 1920, 1080, 30}},
       {1920, 1080},
       {yuyv, 1920, 1080, 30}},
      {"none within: the largest of all",
       {{yuyv, 1920, 1080, 30}, {yuyv, 3840, 2160, 30}, {yuyv, 2560, 1440, 30}},
       {1280, 720},
       {yuyv, 3840, 2160, 30}},
      {"equal areas: the first listed", {{nv12, 1280, 960, 30}, {yuyv, 1600, 768, 30}}, {1920, 1080}, {nv12, 1280, 960, 30}},
      {"1080p only smooth as MJPEG", {{yuyv, 1920, 1080, 5}, {mjpg, 1920, 1080, 30}}, {1920, 1080}, {mjpg, 1920, 1080, 30}},
      {"uncompressed when it reaches 30 fps", {{mjpg, 1280, 720, 30}, {yuyv, 1280, 720, 30}}, {1920, 1080}, {yuyv, 1280, 720, 30}},
      {"slow uncompressed when there is no MJPEG", {{yuyv, 1920, 1080, 5}, {nv12, 1920, 1080, 10}}, {1920, 1080}, {nv12, 1920, 1080, 10}},
  };
  for (const auto& c : cases) {
    const auto chosen = chooseV4L2Format(c.options, c.limits);
    ASSERT_TRUE(chosen) << c.name;
    EXPECT_EQ(*chosen, c.expected) << c.name;
  }
  EXPECT_FALSE(chooseV4L2Format({}, {}));
}

TEST(V4L2FormatChoice, EnumerationSkipsFormatsWeCannotReadAndReadsTheFastestRate) {
  testing::FakeV4L2Device io;
  io.addNode("/dev/video0", testing::FakeNode{.formats = {{V4L2_PIX_FMT_H264, 1920, 1080, {30}},
                                                          {yuyv, 640, 480, {15, 30}},
                                                          {mjpg, 1920, 1080, {60, 30}}}});
  const int fd = io.open("/dev/video0");
  const auto options = enumerateV4L2Formats(io, fd, {});
  const std::vector<V4L2FormatOption> expected{{yuyv, 640, 480, 30}, {mjpg, 1920, 1080, 60}};
  EXPECT_EQ(options, expected);
}

}  // namespace
}  // namespace tavorin

#include "sources/BaseSource.h"

#include <gtest/gtest.h>

#include "base/HostTime.h"
#include "base/PixelBuffer.h"
#include "sources/StaticSource.h"

namespace tavorin {
namespace {

TEST(BaseSourceTest, SlotHoldsOnlyTheNewestFrameByReference) {
  StaticSource source("image:1", "Logo", nullptr);  // publishes an empty frame at once
  auto first = PixelBuffer::make(4, 4);
  auto second = PixelBuffer::make(8, 2);
  const double before = wallClockNow();
  second->setHostTime(2.0);
  source.publish(first);
  source.publish(second);

  auto frame = source.latestFrame();
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame.get(), second.get()) << "the same buffer, not a copy";
  EXPECT_EQ(frame->hostTime(), 2.0);
  EXPECT_EQ(first.use_count(), 1) << "the replaced frame's buffer is let go";
  EXPECT_GE(source.lastFrameAt(), before);
  EXPECT_LE(source.lastFrameAt(), wallClockNow());
}

TEST(BaseSourceTest, StillHasItsFrameBeforeStartAndKeepsItAfterStop) {
  auto black = makeBlackSource();
  ASSERT_TRUE(black);
  EXPECT_EQ(black->id(), "still:black");
  EXPECT_EQ(black->displayName(), "Black");
  auto frame = black->latestFrame();
  ASSERT_TRUE(frame);
  EXPECT_GT(frame->hostTime(), 0.0) << "stamped when it was made";
  ASSERT_EQ(frame->width(), 1920);
  ASSERT_EQ(frame->height(), 1080);
  const std::uint8_t* corner = frame->row(1079) + 4 * 1919;
  EXPECT_EQ(corner[0] + corner[1] + corner[2], 0);
  EXPECT_EQ(corner[3], 255);

  bool started = false;
  black->start([&](std::optional<std::string> error) { started = !error; });
  EXPECT_TRUE(started && black->isRunning());
  black->stop();
  EXPECT_FALSE(black->isRunning());
  EXPECT_EQ(black->latestFrame(), frame);
}

}  // namespace
}  // namespace tavorin

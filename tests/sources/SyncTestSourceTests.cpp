#include "sources/SyncTestSource.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <thread>
#include <vector>

namespace tavorin {
namespace {

bool allWhite(const PixelBuffer& frame) {
  for (int y = 0; y < frame.height(); ++y) {
    const std::uint8_t* row = frame.row(y);
    for (int x = 0; x < frame.width() * 4; x += 4) {
      if (row[x] < 250 || row[x + 1] < 250 || row[x + 2] < 250) return false;
    }
  }
  return true;
}

double meanLevel(const PixelBuffer& frame) {
  double sum = 0;
  for (int y = 0; y < frame.height(); y += 4) {
    const std::uint8_t* row = frame.row(y);
    for (int x = 0; x < frame.width() * 4; x += 16) sum += row[x] + row[x + 1] + row[x + 2];
  }
  return sum / (3.0 * (frame.height() / 4) * (frame.width() / 4));
}

// The left edge of the sweep in the top row, where nothing else is drawn.
int sweepColumn(const PixelBuffer& frame) {
  const std::uint8_t* row = frame.row(0);
  for (int x = 0; x < frame.width(); ++x) {
    if (row[4 * x + 2] > 200) return x;
  }
  return -1;
}

TEST(SyncTestSource, FlashesExactlyOnTheFirstFrameOfEachSecond) {
  SyncTestSource source("synctest:1", "Sync test", 100.0);
  // Two seconds in order, then a late thread that skips the frame on the
  // boundary: no flash that second, since one a frame late would measure a false offset.
  std::vector<std::int64_t> indices;
  for (std::int64_t i = 0; i < 60; ++i) indices.push_back(i);
  for (std::int64_t i : {61, 62}) indices.push_back(i);
  int lastSweep = -1;
  for (std::int64_t i : indices) {
    SCOPED_TRACE(i);
    FrameRef frame = source.drawFrame(i);
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->hostTime(), 100.0 + static_cast<double>(i) / 30);
    if (i % 30 == 0 || i == 61) lastSweep = -1;  // a new second
    if (i % 30 == 0) {
      EXPECT_TRUE(allWhite(*frame));
      continue;
    }
    EXPECT_LT(meanLevel(*frame), 64) << "dark between flashes";
    const int sweep = sweepColumn(*frame);
    EXPECT_GT(sweep, lastSweep) << "the bar moves right through the second";
    lastSweep = sweep;
  }
  EXPECT_EQ(source.drawFrame(60)->hostTime(), 102.0) << "frame 30k shows at epoch + k exactly";
}

TEST(SyncTestSource, PublishesThirtyFramesASecondOnItsGrid) {
  SyncTestSource source("synctest:1", "Sync test");
  source.start(nullptr);
  std::vector<double> times;
  const double until = hostTimeNow() + 1.0;
  while (hostTimeNow() < until) {
    if (FrameRef frame = source.latestFrame(); frame && (times.empty() || frame->hostTime() != times.back())) {
      EXPECT_LE(frame->hostTime(), hostTimeNow()) << "not published before its time";
      times.push_back(frame->hostTime());
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  source.stop();
  EXPECT_FALSE(source.isRunning());
  EXPECT_GE(times.size(), 25u);
  EXPECT_LE(times.size(), 31u);
  for (std::size_t i = 0; i < times.size(); ++i) {
    const double index = (times[i] - source.epoch()) * 30;
    EXPECT_NEAR(index, std::round(index), 1e-6) << "frame " << i << " off the 30 fps grid";
    if (i > 0) {
      EXPECT_GT(times[i], times[i - 1]);
    }
  }
}

}  // namespace
}  // namespace tavorin

#include "app/StatsTicker.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/ManualMainQueue.h"

namespace tavorin {
namespace {

// The recordings' volume fills and empties: each mark is said once on the
// way down, and again only after the volume had a little more room.
TEST(StatsTicker, LowDiskIsSaidOncePerMarkWithRoomToReArm) {
  testing::ManualMainQueue queue;
  StatusStats stats;
  int percent = 50;
  std::vector<std::string> said;
  StatsTicker ticker(queue, stats,
                     {.fps = [] { return 30.0; },
                      .recordingSeconds = [] { return std::nullopt; },
                      .liveSince = [] { return std::nullopt; },
                      .liveStreamCount = [] { return 0; },
                      .diskFreePercent = [&] { return std::optional<int>(percent); },
                      .log = [&](const std::string& line) { said.push_back(line); }});
  ticker.start();
  const struct {
    int percent;
    const char* said;  // the line's start, or nothing
  } steps[] = {{9, "Low disk space: 9%"}, {8, nullptr},  {10, nullptr}, {9, nullptr}, {12, nullptr},
               {9, "Low disk space: 9%"}, {2, "Disk almost full: 2%"}, {3, nullptr}, {2, nullptr},
               {50, nullptr},             {1, "Disk almost full: 1%"}};
  for (const auto& step : steps) {
    SCOPED_TRACE(step.percent);
    said.clear();
    percent = step.percent;
    queue.advance(StatsTicker::kDiskEvery * StatsTicker::kInterval);
    EXPECT_EQ(stats.diskFreePercent.get(), step.percent);
    ASSERT_EQ(said.size(), step.said ? 1u : 0u);
    if (step.said) {
      EXPECT_EQ(said[0].rfind(step.said, 0), 0u) << said[0];
    }
  }
}

}  // namespace
}  // namespace tavorin

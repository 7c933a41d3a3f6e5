#include "stores/VideoEffectPresetStore.h"

#include <gtest/gtest.h>

#include "support/TempDir.h"

namespace tavorin {
namespace {

TEST(VideoEffectPresetStore, NamesAreTrimmedOrMadeUpAndTheLooksComeBackFromTheFile) {
  testing::TempDir dir;
  const ShowFolder folder(dir.path());
  std::vector<VideoFilterConfig> stack(2);
  stack[1].kind = VideoFilterKind::vhs;
  stack[1].params = {{"amount", 0.3}};
  Uuid kept;
  {
    VideoEffectPresetStore store(folder);
    EXPECT_EQ(store.add(" \n", {}).name, "My look 1");
    const auto mine = store.add("  Mine\n", stack);
    EXPECT_EQ(mine.name, "Mine");
    EXPECT_EQ(mine.symbol, "star.fill");
    EXPECT_EQ(store.add("", {}).name, "My look 3");
    kept = mine.id;
    store.rename(kept, "   ");
    store.rename(kept, " Tape ");
    store.remove(store.presets->front().id);
  }
  VideoEffectPresetStore reopened(folder);
  ASSERT_EQ(reopened.presets->size(), 2u);
  EXPECT_EQ(reopened.presets->front().id, kept);
  EXPECT_EQ(reopened.presets->front().name, "Tape");
  EXPECT_EQ(reopened.presets->front().filters, stack);
}

}  // namespace
}  // namespace tavorin

#include <gtest/gtest.h>

#include "app/AppModel.h"
#include "base/PixelBuffer.h"
#include "platform/media/PngWriter.h"
#include "support/FakeSource.h"
#include "support/ManualMainQueue.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

TEST(AppModelSourcesTest, StartRestoresTheStoredSourcesItCanBuildAndFollowsScenes) {
  testing::TempDir show;
  testing::ManualMainQueue queue;
  auto logo = PixelBuffer::make(320, 180);
  logo->fill(0, 0, 255, 255);
  ASSERT_TRUE(writePNG(*logo, show / "logo.png"));
  testing::writeFile(show / "sources.json", R"([
      {"id": "image:logo", "kind": "image", "name": "Logo", "filePath": ")" + (show / "logo.png").string() + R"("},
      {"id": "image:gone", "kind": "image", "name": "Gone", "filePath": "/nonexistent/gone.png"},
      {"id": "still:black", "kind": "black", "name": "Black"}])");

  AppModel model(AppEnvironment{show.path(), show / "preferences.json", queue});
  model.start();
  queue.runUntilIdle();
  ASSERT_EQ(model.sources->size(), 2u);
  EXPECT_EQ(model.sources->at(0)->id(), "image:logo");
  EXPECT_EQ(model.sources->at(1)->id(), "still:black");
  EXPECT_TRUE(model.sources->at(0)->isRunning());
  EXPECT_EQ(model.sourcesStore.saved->size(), 3u) << "the missing picture stays stored";
  EXPECT_TRUE(model.log->empty()) << "and is skipped without a message";
  EXPECT_EQ(model.switcher.sourcePixelSize("image:logo"), (Size{320, 180}));
  EXPECT_EQ(model.verticalSwitcher.sourcePixelSize("still:black"), (Size{1920, 1080}));
  EXPECT_FALSE(model.switcher.sourcePixelSize("image:gone"));

  model.removeSource("still:black");
  EXPECT_EQ(model.sources->size(), 1u);
  EXPECT_FALSE(model.frameSlots.contains("still:black"));
  EXPECT_EQ(model.sourcesStore.saved->size(), 2u);

  auto camera = std::make_shared<testing::FakeSource>("camera:x");
  model.addSource(camera);
  model.editor.addLayer("camera:x");
  queue.runUntilIdle();
  EXPECT_EQ(camera->resumes, 1) << "a Preview layer wakes its source";
}

TEST(AppModelSourcesTest, FiredTransitionWakesRewindsAndPosesItsSourcesWhileItRuns) {
  testing::TempDir show;
  testing::ManualMainQueue queue;
  AppModel model(AppEnvironment{show.path(), show / "preferences.json", queue});
  model.start();
  auto title = std::make_shared<testing::FakeSource>("title:3d");
  title->turnsIn3D = true;
  model.addSource(title);
  queue.runUntilIdle();
  EXPECT_TRUE(model.sourceLifecycle.isParked("title:3d"));

  CustomTransition spin;
  spin.duration = 1;
  TransitionKeyframe first{0, LayerState::make("title:3d"), 0, 0};
  TransitionKeyframe last{1, first.state, 90, -30};
  spin.tracks.push_back({Uuid::make(), "title:3d", {first, last}});
  model.transitionStore.upsert(spin);
  model.switcher.fireTransition(spin.id);
  queue.runUntilIdle();
  EXPECT_EQ(title->replays, 1);
  EXPECT_FALSE(model.sourceLifecycle.isParked("title:3d"));

  // The render thread drives the pose; it lands on the main queue.
  model.switcher.store().programPlan(queue.now() + 1);
  EXPECT_FALSE(title->pose);
  queue.runUntilIdle();
  ASSERT_TRUE(title->pose);
  EXPECT_DOUBLE_EQ(title->pose->first, 90);
  EXPECT_DOUBLE_EQ(title->pose->second, -30);

  queue.advance(1.5);
  EXPECT_TRUE(model.switcher.firedTransitionIDs->empty());
  EXPECT_TRUE(model.sourceLifecycle.isParked("title:3d"));
}

}  // namespace
}  // namespace tavorin

#include "switcher/SwitcherSnapshotStore.h"

#include <atomic>
#include <thread>

#include <gtest/gtest.h>

namespace tavorin {
namespace {

std::shared_ptr<const MixerScene> sceneOf(std::initializer_list<std::string> sources) {
  auto scene = std::make_shared<MixerScene>();
  int z = 0;
  for (const auto& source : sources) {
    auto layer = LayerState::make(source);
    layer.zOrder = z++;
    scene->layers.push_back(layer);
  }
  return scene;
}

std::vector<std::string> sourcesOf(const RenderPlan& plan) {
  std::vector<std::string> out;
  for (const auto& layer : plan.layers) out.push_back(layer.sourceID);
  return out;
}

std::shared_ptr<const ActiveTransition> crossfade(double start, double duration) {
  auto t = std::make_shared<ActiveTransition>();
  t->kind = TransitionKind::crossfade;
  t->startTime = start;
  t->duration = duration;
  t->from = *sceneOf({"old"});
  t->to = *sceneOf({"new"});
  return t;
}

using Sources = std::vector<std::string>;

TEST(SwitcherSnapshotStore, FireGraphicsLieOverProgramAndOnPreviewOnlyWhenAsked) {
  SwitcherSnapshotStore store;
  store.publish(sceneOf({"cam", "logo"}), sceneOf({"next"}));
  store.setFire({LayerState::make("lower-third")});
  EXPECT_EQ(sourcesOf(store.programPlan(10)), (Sources{"cam", "logo", "lower-third"}));
  EXPECT_EQ(store.fire()->name, "Fire");
  EXPECT_EQ(sourcesOf(store.previewPlan(10)), (Sources{"next"}));
  store.setFireInPreview(true);
  EXPECT_EQ(sourcesOf(store.previewPlan(10)), (Sources{"next", "lower-third"}));
}

TEST(SwitcherSnapshotStore, RunningTransitionReplacesProgramUntilTheBackstop) {
  SwitcherSnapshotStore store;
  store.publish(sceneOf({"cam"}), sceneOf({"next"}));
  store.setActive(crossfade(100, 1));

  auto mid = store.programPlan(100.5);
  ASSERT_EQ(sourcesOf(mid), (Sources{"old", "new"}));
  EXPECT_FLOAT_EQ(mid.layers[1].opacity, 0.5f);
  // Past the end the final state shows until the completion or the backstop.
  auto late = store.programPlan(101.25);
  EXPECT_EQ(sourcesOf(late), (Sources{"old", "new"}));
  EXPECT_FLOAT_EQ(late.layers[1].opacity, 1);
  ASSERT_TRUE(store.active());

  EXPECT_EQ(sourcesOf(store.programPlan(101.31)), (Sources{"cam"}));
  EXPECT_FALSE(store.active());
}

TEST(SwitcherSnapshotStore, StudioPlanShowsTheTransitionAloneElsePreview) {
  SwitcherSnapshotStore store;
  store.publish(sceneOf({"cam"}), sceneOf({"next"}));
  store.setFire({LayerState::make("lower-third")});
  EXPECT_FALSE(store.activeTransitionLayers(10));
  EXPECT_EQ(sourcesOf(store.studioPlan(10)), (Sources{"next"}));
  store.setActive(crossfade(10, 1));
  EXPECT_EQ(sourcesOf(store.studioPlan(10.5)), (Sources{"old", "new"}));
  store.clearActive();
  EXPECT_EQ(sourcesOf(store.studioPlan(10.5)), (Sources{"next"}));
}

// Under the sanitizers this catches a scene freed while the render thread
// still draws from it.
TEST(SwitcherSnapshotStore, RenderThreadReadsWhileTheMainThreadPublishes) {
  SwitcherSnapshotStore store;
  std::atomic<bool> stop{false};
  std::thread render([&] {
    double t = 0;
    while (!stop.load()) {
      auto plan = store.programPlan(t);
      auto preview = store.previewPlan(t);
      ASSERT_LE(plan.layers.size(), 3u);
      ASSERT_LE(preview.layers.size(), 3u);
      t += 0.01;
    }
  });
  for (int i = 0; i < 2000; ++i) {
    store.publish(sceneOf({"a", "b"}), sceneOf({"c"}));
    if (i % 3 == 0) store.setActive(crossfade(0, 1));
    if (i % 5 == 0) store.clearActive();
    store.setFire({LayerState::make("f")});
  }
  stop = true;
  render.join();
}

}  // namespace
}  // namespace tavorin

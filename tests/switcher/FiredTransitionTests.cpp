#include <gtest/gtest.h>

#include "support/ManualMainQueue.h"
#include "switcher/SwitcherEngine.h"
#include "switcher/SwitcherTestSupport.h"

namespace tavorin {
namespace {

using namespace switcher_testing;

// A plate that sweeps from left to right over `duration` seconds.
CustomTransition sweep(double duration, std::optional<double> holdPoint = std::nullopt) {
  CustomTransition custom;
  custom.duration = duration;
  custom.holdPoint = holdPoint;
  TransitionTrack track;
  track.sourceID = "plate";
  LayerState from = LayerState::make("plate");
  from.center = {-0.5, 0.5};
  LayerState to = from;
  to.center = {1.5, 0.5};
  track.keyframes = {{0, from}, {1, to}};
  custom.tracks = {track};
  return custom;
}

class FiredTransitions : public ::testing::Test {
 protected:
  FiredTransitions() {
    engine.customTransitionLookup = [this](const Uuid& id) -> std::optional<CustomTransition> {
      for (const auto& c : library) {
        if (c.id == id) return c;
      }
      return std::nullopt;
    };
    engine.restoreSession(sceneOf({"cam"}), sceneOf({"slides"}));
  }

  // The plate's place on Program now, or nothing when no run draws it.
  std::optional<double> plateX() {
    const RenderPlan plan = engine.store().programPlan(queue.now());
    EXPECT_EQ(plan.layers.front().sourceID, "cam");  // Program itself never changes
    if (plan.layers.back().sourceID != "plate") return std::nullopt;
    return plan.layers.back().center.x;
  }

  testing::ManualMainQueue queue;
  SwitcherEngine engine{SwitcherEngine::Role::main, queue};
  std::vector<CustomTransition> library;
};

TEST_F(FiredTransitions, RunWithoutHoldPlaysOverProgramAndGoes) {
  library = {sweep(2)};
  const Uuid id = library[0].id;
  engine.fireTransition(id);
  EXPECT_TRUE(engine.firedTransitionIDs->contains(id));
  EXPECT_NEAR(*plateX(), -0.5, 1e-9);
  queue.advance(1);
  EXPECT_NEAR(*plateX(), 0.5, 1e-6);
  // Firing again while it runs starts it from the beginning.
  engine.fireTransition(id);
  EXPECT_NEAR(*plateX(), -0.5, 1e-9);
  queue.advance(2.3);
  EXPECT_NEAR(*plateX(), 1.5, 1e-9);  // the last pose stays until the run's grace ends
  queue.advance(0.1);
  EXPECT_FALSE(engine.firedTransitionIDs->contains(id));
  EXPECT_FALSE(plateX());
  EXPECT_EQ(sourcesOf(engine.programScene.get()), Sources{"cam"});
  EXPECT_EQ(sourcesOf(engine.previewScene.get()), Sources{"slides"});
  EXPECT_FALSE(engine.isTransitioning.get());
}

TEST_F(FiredTransitions, HoldWaitsForTheSecondPressThenPlaysTheRest) {
  library = {sweep(2, 0.5)};
  const Uuid id = library[0].id;
  engine.fireTransition(id);
  queue.advance(60);
  EXPECT_NEAR(*plateX(), 0.5, 1e-6);  // holding in the middle, for as long as it takes
  EXPECT_TRUE(engine.firedTransitionIDs->contains(id));

  engine.fireTransition(id);  // release: the rest takes (1 - 0.5) of 2 s
  queue.advance(0.5);
  EXPECT_NEAR(*plateX(), -0.5 + 2 * 0.84375, 1e-6);  // p 0.75, eased: 3u² - 2u³
  engine.fireTransition(id);  // a press while releasing changes nothing
  queue.advance(0.5);
  EXPECT_NEAR(*plateX(), 1.5, 1e-9);
  queue.advance(0.35);
  EXPECT_FALSE(engine.firedTransitionIDs->contains(id));
  EXPECT_FALSE(plateX());

  engine.fireTransition(id);  // a third press after the end starts it anew
  EXPECT_NEAR(*plateX(), -0.5, 1e-9);
  EXPECT_TRUE(engine.firedTransitionIDs->contains(id));
}

TEST_F(FiredTransitions, HoldAtTheVeryEndIsIgnoredAndUnknownIdsDoNothing) {
  library = {sweep(1, 0.995)};
  engine.fireTransition(library[0].id);
  queue.advance(1.4);
  EXPECT_TRUE(engine.firedTransitionIDs->empty());
  engine.fireTransition(Uuid::make());
  EXPECT_TRUE(engine.firedTransitionIDs->empty());
  EXPECT_TRUE(engine.store().firedRuns()->empty());
}

TEST_F(FiredTransitions, FiredLayersLieOverTheFireGraphics) {
  library = {sweep(1)};
  engine.setFireLayers({LayerState::make("bug")});
  engine.fireTransition(library[0].id);
  const RenderPlan plan = engine.store().programPlan(queue.now());
  ASSERT_EQ(plan.layers.size(), 3u);
  EXPECT_EQ(plan.layers[1].sourceID, "bug");
  EXPECT_EQ(plan.layers[2].sourceID, "plate");
}

TEST_F(FiredTransitions, CustomTakeChangesTheBasePictureExactlyOnceAtTheCutPoint) {
  CustomTransition custom = sweep(1);
  custom.cutPoint = 0.4;
  const double start = queue.now();
  engine.takeCustom(custom);
  int changes = 0;
  std::string base = "cam";
  double changedAt = 0;
  for (int frame = 0; frame <= 60; ++frame) {
    const double t = start + frame / 60.0;
    const RenderPlan plan = engine.store().programPlan(t);
    ASSERT_EQ(plan.layers.back().sourceID, "plate");
    if (plan.layers.front().sourceID != base) {
      base = plan.layers.front().sourceID;
      changedAt = t - start;
      ++changes;
    }
  }
  EXPECT_EQ(changes, 1);
  EXPECT_EQ(base, "slides");
  EXPECT_NEAR(changedAt, 0.4, 1.0 / 60 + 1e-9);
  queue.advance(1);
  EXPECT_EQ(sourcesOf(engine.programScene.get()), Sources{"slides"});
}

TEST_F(FiredTransitions, AuditionChangesNeitherSceneAndScrubShowsTheStudioCanvas) {
  SwitcherEngine studio{SwitcherEngine::Role::studio, queue};
  studio.restoreSession(sceneOf({"cam"}), sceneOf({"slides"}));
  studio.playOverProgram(sweep(1));
  EXPECT_TRUE(studio.isTransitioning.get());
  EXPECT_TRUE(studio.sourceIDsInUse().contains("slides"));
  EXPECT_FALSE(studio.sourceIDsInUse().contains("cam")) << "the studio Program keeps nothing awake";
  RenderPlan plan = studio.store().studioPlan(queue.now() + 0.7);  // past the cut: still Program
  EXPECT_EQ(plan.layers.front().sourceID, "cam");
  queue.advance(1);
  EXPECT_FALSE(studio.isTransitioning.get());
  EXPECT_EQ(sourcesOf(studio.programScene.get()), Sources{"cam"});
  EXPECT_EQ(sourcesOf(studio.previewScene.get()), Sources{"slides"});

  studio.scrub(sweep(1), 0.25f);
  plan = studio.store().studioPlan(queue.now());
  ASSERT_EQ(plan.layers.size(), 1u);
  EXPECT_NEAR(plan.layers[0].center.x, -0.5 + 2 * 0.15625, 1e-6);  // eased: 3u² - 2u³ at u = 0.25
  studio.scrub(std::nullopt, 0);
  EXPECT_EQ(studio.store().studioPlan(queue.now()).layers.front().sourceID, "slides");
}

}  // namespace
}  // namespace tavorin

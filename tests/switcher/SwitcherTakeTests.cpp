#include "switcher/SwitcherEngine.h"

#include <gtest/gtest.h>

#include "support/ManualMainQueue.h"
#include "switcher/PreviewEditor.h"
#include "switcher/SwitcherTestSupport.h"

namespace tavorin {
namespace {

using namespace switcher_testing;

class SwitcherTake : public ::testing::Test {
 protected:
  testing::ManualMainQueue queue;
  SwitcherEngine engine{SwitcherEngine::Role::main, queue};
};

TEST_F(SwitcherTake, CutPutsPreviewOnAirAndSwapsTheOldProgramBackUnlessNothingWasOnAir) {
  engine.restoreSession({}, sceneOf({"old"}));
  engine.take(TransitionKind::cut, 0);
  EXPECT_EQ(engine.previewScene.get(), engine.programScene.get());
  engine.restoreSession(engine.programScene.get(), sceneOf({"new"}));
  std::vector<std::set<std::string>> followed;
  engine.audioFollow = [&](const std::set<std::string>& ids) { followed.push_back(ids); };

  engine.take(TransitionKind::cut, 0.5);
  EXPECT_EQ(sourcesOf(engine.programScene.get()), Sources{"new"});
  EXPECT_EQ(sourcesOf(engine.previewScene.get()), Sources{"old"});
  EXPECT_FALSE(engine.isTransitioning.get());
  EXPECT_FALSE(engine.store().active());
  EXPECT_EQ(sourcesOf(*engine.store().program()), Sources{"new"});
  ASSERT_EQ(followed.size(), 1u);
  EXPECT_EQ(followed[0], (std::set<std::string>{"new"}));
}

TEST_F(SwitcherTake, TakesDuringATransitionAreDroppedAndItCompletesAsPlanned) {
  engine.restoreSession(sceneOf({"old"}), sceneOf({"first"}));
  engine.take(TransitionKind::crossfade, 1.0);
  const auto generation = engine.transitionGeneration();
  ASSERT_TRUE(engine.isTransitioning.get());
  ASSERT_TRUE(engine.store().active());
  EXPECT_DOUBLE_EQ(engine.store().active()->startTime, queue.now());

  engine.restoreSession(engine.programScene.get(), sceneOf({"second"}));
  engine.take(TransitionKind::cut, 0);
  engine.take(TransitionKind::crossfade, 0.2);
  EXPECT_EQ(sourcesOf(engine.programScene.get()), Sources{"old"});
  EXPECT_EQ(engine.transitionGeneration(), generation);

  queue.advance(0.99);
  EXPECT_TRUE(engine.isTransitioning.get());
  queue.advance(0.02);
  EXPECT_FALSE(engine.isTransitioning.get());
  EXPECT_FALSE(engine.store().active());
  EXPECT_EQ(sourcesOf(engine.programScene.get()), Sources{"first"});
  EXPECT_EQ(sourcesOf(engine.previewScene.get()), Sources{"old"});
}

TEST_F(SwitcherTake, CompletionOfACancelledTransitionDoesNothing) {
  engine.restoreSession(sceneOf({"old"}), sceneOf({"new"}));
  engine.take(TransitionKind::crossfade, 1.0);
  engine.cancelTransition();
  EXPECT_FALSE(engine.isTransitioning.get());
  EXPECT_FALSE(engine.store().active());

  queue.advance(2);
  EXPECT_EQ(sourcesOf(engine.programScene.get()), Sources{"old"});
  EXPECT_EQ(sourcesOf(engine.previewScene.get()), Sources{"new"});
}

TEST_F(SwitcherTake, SwapAfterATakeLeavesTheLoadedLayout) {
  MixerScene layout = sceneOf({"layout"});
  std::vector<std::pair<Uuid, Sources>> leaving;
  engine.onLeavingLoadedLayout = [&](const Uuid& id, const MixerScene& preview) {
    leaving.emplace_back(id, sourcesOf(preview));
  };
  engine.restoreSession(sceneOf({"old"}), {});
  engine.stageLayout(layout);
  ASSERT_EQ(engine.loadedLayoutID.get(), layout.id);

  engine.take(TransitionKind::cut, 0);
  EXPECT_FALSE(engine.loadedLayoutID.get());
  EXPECT_EQ(sourcesOf(engine.previewScene.get()), Sources{"old"});
  ASSERT_EQ(leaving.size(), 1u);
  EXPECT_EQ(leaving[0].first, layout.id);
  EXPECT_EQ(leaving[0].second, Sources{"layout"});
}

TEST_F(SwitcherTake, SceneTransitionFallsBackFromAMissingCustomToItsKindThenTheSelected) {
  engine.setSelectedTransition(TransitionKind::cut);
  engine.customTransitionLookup = [](const Uuid&) { return std::optional<CustomTransition>(); };
  MixerScene next = sceneOf({"new"});
  next.transition = SceneTransition{"shrinkToCorner", Uuid::make(), 0.7};
  engine.restoreSession({}, next);
  engine.take();
  auto active = engine.store().active();
  ASSERT_TRUE(active);
  EXPECT_EQ(active->kind, TransitionKind::shrinkToCorner);
  EXPECT_DOUBLE_EQ(active->duration, 0.7);
  queue.advance(1);

  next.transition = SceneTransition{std::nullopt, Uuid::make(), 2};
  engine.restoreSession({}, next);
  engine.take();
  EXPECT_FALSE(engine.isTransitioning.get());  // the selected cut
}

TEST_F(SwitcherTake, FoundCustomTransitionPlaysWithItsSounds) {
  CustomTransition custom;
  custom.duration = 1.2;
  TransitionSound sound;
  sound.soundID = Uuid::make();
  custom.sounds = {sound};
  std::vector<TransitionSound> played;
  engine.playTransitionSound = [&](const TransitionSound& s) { played.push_back(s); };
  engine.customTransitionLookup = [&](const Uuid& id) {
    return id == custom.id ? std::optional<CustomTransition>(custom) : std::nullopt;
  };
  MixerScene next = sceneOf({"new"});
  next.transition = SceneTransition{"slide", custom.id, 0.5};
  engine.restoreSession(sceneOf({"old"}), next);

  engine.take();
  auto active = engine.store().active();
  ASSERT_TRUE(active);
  ASSERT_TRUE(active->custom);
  EXPECT_DOUBLE_EQ(active->duration, 1.2);
  EXPECT_EQ(played, std::vector<TransitionSound>{sound});
  EXPECT_EQ(engine.currentActiveCustom(), custom);

  queue.advance(1.2);
  EXPECT_EQ(sourcesOf(engine.programScene.get()), Sources{"new"});
  EXPECT_FALSE(engine.currentActiveCustom());
}

TEST_F(SwitcherTake, MatchMoveDrawsTheVisibleRectanglesButCompletesWithTheScenes) {
  engine.sourcePixelSize = [](const std::string&) { return std::optional<Size>(Size{1440, 1080}); };
  engine.restoreSession(sceneOf({"cam"}), sceneOf({"cam"}));
  engine.take(TransitionKind::matchMove, 1);
  auto active = engine.store().active();
  ASSERT_TRUE(active);
  // A 4:3 source in a full 16:9 box fills three quarters of its width.
  EXPECT_NEAR(active->to.layers[0].size.width, 0.75, 1e-9);
  EXPECT_DOUBLE_EQ(active->to.layers[0].size.height, 1);
  EXPECT_TRUE(active->to.layers[0].fill);
  queue.advance(1);
  EXPECT_EQ(engine.programScene->layers[0].size, (Size{1, 1}));
  EXPECT_FALSE(engine.programScene->layers[0].fill);
}

TEST_F(SwitcherTake, DirectModeMirrorsEditsButNotDuringATransition) {
  PreviewEditor editor{engine};
  engine.restoreSession(sceneOf({"cam"}), sceneOf({"other"}));
  engine.setStudioMode(false);
  EXPECT_EQ(sourcesOf(engine.previewScene.get()), Sources{"cam"});
  EXPECT_TRUE(engine.store().fireInPreview());

  editor.addLayer("logo");
  EXPECT_EQ(sourcesOf(engine.programScene.get()), (Sources{"cam", "logo"}));

  engine.take(TransitionKind::crossfade, 1);
  editor.addLayer("late");
  EXPECT_EQ(sourcesOf(engine.programScene.get()), (Sources{"cam", "logo"}));
  queue.advance(1);
  EXPECT_EQ(sourcesOf(engine.programScene.get()), (Sources{"cam", "logo"}));
  engine.publishSnapshot();
  EXPECT_EQ(sourcesOf(engine.programScene.get()), (Sources{"cam", "logo", "late"}));
}

TEST_F(SwitcherTake, DirectModeLayoutArrivesThroughATake) {
  engine.setStudioMode(false);
  engine.restoreSession(sceneOf({"cam"}), sceneOf({"cam"}));
  engine.loadLayout(sceneOf({"layout"}));
  ASSERT_TRUE(engine.isTransitioning.get());
  EXPECT_EQ(sourcesOf(engine.programScene.get()), Sources{"cam"});
  queue.advance(engine.transitionDuration.get());
  EXPECT_EQ(sourcesOf(engine.programScene.get()), Sources{"layout"});
}

TEST_F(SwitcherTake, HoldingCardComesAndGoesThroughTakesWithProgramMuted) {
  std::vector<bool> mutes;
  engine.setProgramMuted = [&](bool muted) { mutes.push_back(muted); };
  engine.setSelectedTransition(TransitionKind::cut);
  engine.restoreSession(sceneOf({"cam"}, "Live"), {});

  engine.toggleBRB("card", "Be Right Back");
  EXPECT_TRUE(engine.brbActive.get());
  EXPECT_EQ(engine.programScene->name, "Be Right Back");
  EXPECT_EQ(sourcesOf(engine.programScene.get()), Sources{"card"});
  EXPECT_EQ(mutes, std::vector<bool>{true});

  engine.toggleBRB("card", "Be Right Back");
  EXPECT_FALSE(engine.brbActive.get());
  EXPECT_FALSE(engine.preBRBProgram());
  EXPECT_EQ(engine.programScene->name, "Live");
  EXPECT_EQ(mutes, (std::vector<bool>{true, false}));
}

TEST(SwitcherLifetime, CompletionAfterTheEngineIsGoneIsHarmless) {
  testing::ManualMainQueue queue;
  auto engine = std::make_unique<SwitcherEngine>(SwitcherEngine::Role::main, queue);
  engine->restoreSession({}, sceneOf({"new"}));
  engine->take(TransitionKind::crossfade, 1);
  engine.reset();
  queue.advance(2);
  EXPECT_EQ(queue.pendingTimers(), 0u);
}

}  // namespace
}  // namespace tavorin

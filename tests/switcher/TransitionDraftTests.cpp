#include "switcher/TransitionDraft.h"

#include <gtest/gtest.h>

#include "support/ManualMainQueue.h"
#include "switcher/SwitcherEngine.h"

namespace tavorin {
namespace {

TEST(TransitionDraft, StagesCompileToKeyframesWithHoldsAndTheHoldPoint) {
  TransitionDraft draft;
  const Uuid id = draft.addTrack("logo");
  draft.tracks.modify([](std::vector<BuilderTrack>& tracks) {
    auto& stages = tracks[0].stages;
    stages[0].toNext = 1;  // grow for 1 s
    stages[1].hold = 2;    // stay 2 s
    stages[1].toNext = 1;
    BuilderStage out;
    out.k = Keyframe{.scale = 0.1, .posX = 1.2, .opacity = 0};
    stages.push_back(out);  // then leave in 1 s
  });
  draft.holdTrackID = id;
  draft.holdStageID = draft.tracks.get()[0].stages[1].id;
  EXPECT_DOUBLE_EQ(draft.totalDuration(), 4);

  const CustomTransition custom = draft.compile("", nullptr);
  EXPECT_EQ(custom.name, "Transition");
  EXPECT_DOUBLE_EQ(custom.duration, 4);
  ASSERT_EQ(custom.tracks.size(), 1u);
  const auto& keys = custom.tracks[0].keyframes;
  // A stage without a hold gives one keyframe, one with a hold two equal ones.
  ASSERT_EQ(keys.size(), 4u);
  EXPECT_DOUBLE_EQ(keys[0].time, 0);
  EXPECT_DOUBLE_EQ(keys[1].time, 0.25);
  EXPECT_DOUBLE_EQ(keys[2].time, 0.75);
  EXPECT_DOUBLE_EQ(keys[3].time, 1);
  EXPECT_EQ(keys[1].state, keys[2].state);
  EXPECT_EQ(keys[0].state.sourceID, "logo");
  EXPECT_EQ(keys[0].state.size, (Size{0.2, 0.2}));
  EXPECT_DOUBLE_EQ(*custom.holdPoint, 0.25);  // where the held stage begins
  // The hold is flat: nothing moves between its two keyframes.
  EXPECT_EQ(custom.tracks[0].layer(0.3f)->center, custom.tracks[0].layer(0.7f)->center);
}

TEST(TransitionDraft, CompileThenLoadKeepsStagesHoldsTravelsAndTheHold) {
  TransitionDraft draft;
  draft.addTrack("logo");
  const Uuid second = draft.addTrack("plate");
  draft.tracks.modify([](std::vector<BuilderTrack>& tracks) {
    tracks[1].stages[0].hold = 0.5;
    tracks[1].stages[0].toNext = 0.75;
  });
  draft.holdTrackID = second;
  draft.holdStageID = draft.tracks.get()[1].stages[1].id;
  draft.cutPoint = 0.3;
  const CustomTransition custom = draft.compile("Sweep", nullptr);

  TransitionDraft loaded;
  loaded.load(custom);
  EXPECT_EQ(loaded.editingID.get(), custom.id);
  EXPECT_EQ(loaded.name.get(), "Sweep");
  EXPECT_DOUBLE_EQ(loaded.cutPoint.get(), 0.3);
  ASSERT_EQ(loaded.tracks->size(), 2u);
  for (std::size_t t = 0; t < 2; ++t) {
    const auto& before = draft.tracks.get()[t].stages;
    const auto& after = loaded.tracks.get()[t].stages;
    ASSERT_EQ(after.size(), before.size());
    for (std::size_t s = 0; s < before.size(); ++s) {
      EXPECT_NEAR(after[s].hold, before[s].hold, 1e-9);
      if (s + 1 < before.size()) {
        EXPECT_NEAR(after[s].toNext, before[s].toNext, 1e-9);
      }
      EXPECT_NEAR(after[s].k.scale, before[s].k.scale, 1e-9);
      EXPECT_NEAR(after[s].k.opacity, before[s].k.opacity, 1e-6);
    }
  }
  EXPECT_EQ(loaded.holdTrackID.get(), loaded.tracks.get()[1].id);
  EXPECT_EQ(loaded.holdStageID.get(), loaded.tracks.get()[1].stages[1].id);
  EXPECT_EQ(loaded.compile("Sweep", nullptr).tracks[1].keyframes.size(), custom.tracks[1].keyframes.size());
}

TEST(TransitionDraft, ShortTracksArePaddedAndPosesFitTheirSource) {
  CustomTransition one;
  one.tracks.push_back({Uuid::make(), "cam", {{0.5, LayerState::make("cam")}}});
  TransitionDraft draft;
  draft.load(one);
  ASSERT_EQ(draft.tracks.get()[0].stages.size(), 2u);
  EXPECT_DOUBLE_EQ(draft.tracks.get()[0].stages[0].toNext, 0.5);
  EXPECT_DOUBLE_EQ(draft.tracks.get()[0].stages[1].k.scale, 1.0);

  // A 4:3 source on a 16:9 canvas: the larger side of the box is the scale.
  testing::ManualMainQueue queue;
  SwitcherEngine engine(SwitcherEngine::Role::main, queue);
  engine.sourcePixelSize = [](const std::string&) { return std::optional<Size>(Size{1440, 1080}); };
  TransitionDraft fresh;
  fresh.addTrack("cam");
  const LayerState key = fresh.compile("x", &engine).tracks[0].keyframes[0].state;
  EXPECT_NEAR(key.size.width, 0.2 * 0.75, 1e-9);
  EXPECT_NEAR(key.size.height, 0.2, 1e-9);
  EXPECT_TRUE(key.fill);

  fresh.removeTrack(fresh.tracks.get()[0].id);
  EXPECT_TRUE(fresh.tracks->empty());
  EXPECT_DOUBLE_EQ(fresh.totalDuration(), 0.2);
}

}  // namespace
}  // namespace tavorin

// The built-in transitions drawn by the real compositor at chosen times: the
// drawing lists are tested on their own elsewhere; these catch what only shows
// in pixels (blend order, which side an edge lands on, interpolated boxes).
#include "compositor/CompositorTestSupport.h"
#include "switcher/ActiveTransition.h"
#include "switcher/SwitcherSnapshotStore.h"

namespace tavorin::testing {
namespace {

LayerState sceneLayer(const std::string& source, Point center = {0.5, 0.5}, Size size = {1, 1}) {
  LayerState layer = LayerState::make(source);
  layer.center = center;
  layer.size = size;
  return layer;
}

class TransitionPixels : public CompositorTest {
 protected:
  TransitionPixels() {
    frames["old"] = solidFrame(320, 180, kRed);
    frames["new"] = solidFrame(320, 180, kBlue);
    frames["cam"] = solidFrame(320, 180, kGreen);
  }

  // The frame drawn halfway through a two-second take.
  PixelBufferRef atHalfTime(TransitionKind kind, std::vector<LayerState> from, std::vector<LayerState> to) {
    ActiveTransition t;
    t.kind = kind;
    t.startTime = 10;
    t.duration = 2;
    t.from.layers = std::move(from);
    t.to.layers = std::move(to);
    return compose(RenderPlan{t.layers(t.progress(11), 11)});
  }
};

TEST_F(TransitionPixels, CrossfadeAtHalfTimeLaysHalfTheNewOverHalfTheOld) {
  auto out = atHalfTime(TransitionKind::crossfade, {sceneLayer("old")}, {sceneLayer("new")});
  // Old at 0.5 over black, then new at 0.5 over that: 0.5 new + 0.25 old.
  EXPECT_TRUE(near(at(*out, 0.5, 0.5), {64, 0, 128, 255}, 2));
  EXPECT_TRUE(near(at(*out, 0.05, 0.95), {64, 0, 128, 255}, 2));
}

TEST_F(TransitionPixels, SlideAtHalfTimeHasTheEdgeInTheMiddle) {
  auto out = atHalfTime(TransitionKind::slide, {sceneLayer("old")}, {sceneLayer("new")});
  EXPECT_TRUE(near(at(*out, 0.02, 0.5), kRed));
  EXPECT_TRUE(near(at(*out, 0.48, 0.5), kRed));
  EXPECT_TRUE(near(at(*out, 0.52, 0.5), kBlue));
  EXPECT_TRUE(near(at(*out, 0.98, 0.5), kBlue));
}

TEST_F(TransitionPixels, ShrinkToCornerShrinksTheOldSceneOverTheNew) {
  auto out = atHalfTime(TransitionKind::shrinkToCorner, {sceneLayer("old")}, {sceneLayer("new")});
  // Halfway the old box stands at centre 0.64 with size 0.64: 0.32 to 0.96.
  EXPECT_TRUE(near(at(*out, 0.34, 0.34), kRed));
  EXPECT_TRUE(near(at(*out, 0.94, 0.94), kRed));
  EXPECT_TRUE(near(at(*out, 0.30, 0.5), kBlue));
  EXPECT_TRUE(near(at(*out, 0.98, 0.98), kBlue));
}

TEST_F(TransitionPixels, MatchMoveCarriesTheSharedSourceHalfwayAndFadesTheRest) {
  auto out = atHalfTime(TransitionKind::matchMove, {sceneLayer("old"), sceneLayer("cam", {0.2, 0.5}, {0.2, 0.2})},
                        {sceneLayer("cam", {0.8, 0.5}, {0.4, 0.4})});
  // The camera box moved from 0.1..0.3 to 0.5 centre at width 0.3: 0.35..0.65, opaque.
  EXPECT_TRUE(near(at(*out, 0.5, 0.5), kGreen));
  EXPECT_TRUE(near(at(*out, 0.37, 0.5), kGreen));
  EXPECT_TRUE(near(at(*out, 0.63, 0.5), kGreen));
  // The leaving scene shows at half strength around it, and nothing of the
  // camera is left at its old place.
  EXPECT_TRUE(near(at(*out, 0.2, 0.5), {128, 0, 0, 255}, 2));
  EXPECT_TRUE(near(at(*out, 0.8, 0.5), {128, 0, 0, 255}, 2));
}

// A green plate on the left half that slides from the left edge of the
// picture (t = 0) to the right half (t = 1).
CustomTransition plateSweep() {
  CustomTransition custom;
  custom.duration = 2;
  custom.cutPoint = 0.5;
  TransitionTrack track;
  track.sourceID = "cam";
  LayerState plate = sceneLayer("cam", {0.25, 0.5}, {0.5, 1});
  track.keyframes.push_back({0, plate});
  plate.center.x = 0.75;
  track.keyframes.push_back({1, plate});
  custom.tracks = {track};
  return custom;
}

TEST_F(TransitionPixels, CustomTakeSwitchesTheBasePictureAtTheCutPointUnderThePlate) {
  ActiveTransition t;
  t.custom = plateSweep();
  t.from.layers = {sceneLayer("old")};
  t.to.layers = {sceneLayer("new")};
  auto before = compose(RenderPlan{t.layers(0.49f, 0)});
  auto atCut = compose(RenderPlan{t.layers(0.5f, 0)});
  // Just before the cut the old picture shows beside the plate, from the cut on the new one.
  EXPECT_TRUE(near(at(*before, 0.05, 0.5), kRed));
  EXPECT_TRUE(near(at(*atCut, 0.05, 0.5), kBlue));
  // Halfway the plate (eased, so exactly in the middle) covers 0.25 to 0.75.
  EXPECT_TRUE(near(at(*atCut, 0.27, 0.5), kGreen));
  EXPECT_TRUE(near(at(*atCut, 0.73, 0.5), kGreen));
  EXPECT_TRUE(near(at(*atCut, 0.95, 0.5), kBlue));
}

TEST_F(TransitionPixels, FiredRunHoldsItsPlateOverAnUnchangedProgram) {
  SwitcherSnapshotStore store;
  MixerScene program;
  program.layers = {sceneLayer("old")};
  store.publish(std::make_shared<const MixerScene>(program), std::make_shared<const MixerScene>());
  FiredTransitionRun run;
  run.custom = plateSweep();
  run.startTime = 10;
  run.holdAt = 0.5;
  store.setFiredRuns({run});

  // Long after it reached the hold point it stands there still.
  auto held = compose(store.programPlan(500));
  EXPECT_TRUE(near(at(*held, 0.05, 0.5), kRed));
  EXPECT_TRUE(near(at(*held, 0.5, 0.5), kGreen));
  EXPECT_TRUE(near(at(*held, 0.95, 0.5), kRed));

  // Released, it plays on to its end position and then leaves Program as it was.
  run.releaseTime = 500;
  store.setFiredRuns({run});
  auto ended = compose(store.programPlan(501));
  EXPECT_TRUE(near(at(*ended, 0.3, 0.5), kRed));
  EXPECT_TRUE(near(at(*ended, 0.95, 0.5), kGreen));
  auto gone = compose(store.programPlan(501.5));
  EXPECT_TRUE(near(at(*gone, 0.95, 0.5), kRed));
}

}  // namespace
}  // namespace tavorin::testing

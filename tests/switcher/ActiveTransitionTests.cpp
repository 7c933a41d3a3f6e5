#include "switcher/ActiveTransition.h"

#include <gtest/gtest.h>

namespace tavorin {
namespace {

LayerState layerOf(const std::string& source, Point center = {0.5, 0.5}, Size size = {1, 1}, int z = 0) {
  LayerState layer = LayerState::make(source);
  layer.center = center;
  layer.size = size;
  layer.zOrder = z;
  return layer;
}

MixerScene sceneOf(std::vector<LayerState> layers) {
  MixerScene scene;
  scene.layers = std::move(layers);
  return scene;
}

ActiveTransition transitionOf(TransitionKind kind, MixerScene from, MixerScene to) {
  ActiveTransition t;
  t.kind = kind;
  t.startTime = 100;
  t.duration = 2;
  t.from = std::move(from);
  t.to = std::move(to);
  return t;
}

TEST(ActiveTransitionProgress, EasesInAndOutOverTheDuration) {
  ActiveTransition t = transitionOf(TransitionKind::crossfade, {}, {});
  EXPECT_FLOAT_EQ(t.progress(99), 0);
  EXPECT_FLOAT_EQ(t.progress(100.5), 0.125f);
  EXPECT_FLOAT_EQ(t.progress(101), 0.5f);
  EXPECT_FLOAT_EQ(t.progress(101.5), 0.875f);
  EXPECT_FLOAT_EQ(t.progress(105), 1);
  t.custom = CustomTransition{};  // a custom transition eases per keyframe instead
  EXPECT_FLOAT_EQ(t.progress(100.5), 0.25f);
  t.duration = 0;
  EXPECT_FLOAT_EQ(t.progress(50), 1);
}

TEST(ActiveTransitionLayers, CrossfadeDrawsTheNewSceneOverTheOldAtComplementaryOpacity) {
  auto t = transitionOf(TransitionKind::crossfade, sceneOf({layerOf("old")}), sceneOf({layerOf("new")}));
  auto layers = t.layers(0.25f, 0);
  ASSERT_EQ(layers.size(), 2u);
  EXPECT_EQ(layers[0].sourceID, "old");
  EXPECT_FLOAT_EQ(layers[0].opacity, 0.75f);
  EXPECT_EQ(layers[1].sourceID, "new");
  EXPECT_FLOAT_EQ(layers[1].opacity, 0.25f);
  t.kind = TransitionKind::cut;  // never built by a take, but drawable
  layers = t.layers(0.3f, 0);
  ASSERT_EQ(layers.size(), 1u);
  EXPECT_FLOAT_EQ(layers[0].opacity, 1);
}

TEST(ActiveTransitionLayers, SlideMovesOneWholeCanvasLeft) {
  auto t = transitionOf(TransitionKind::slide, sceneOf({layerOf("old", {0.3, 0.4})}),
                        sceneOf({layerOf("new", {0.6, 0.4})}));
  auto start = t.layers(0, 0);
  ASSERT_EQ(start.size(), 2u);
  EXPECT_DOUBLE_EQ(start[0].center.x, 0.3);
  EXPECT_DOUBLE_EQ(start[1].center.x, 1.6);
  auto end = t.layers(1, 0);
  EXPECT_DOUBLE_EQ(end[0].center.x, 0.3 - 1);
  EXPECT_DOUBLE_EQ(end[1].center.x, 0.6);
  EXPECT_DOUBLE_EQ(end[1].center.y, 0.4);
}

TEST(ActiveTransitionLayers, ShrinkToCornerStacksEveryOldLayerInTheCornerOnTop) {
  auto t = transitionOf(TransitionKind::shrinkToCorner,
                        sceneOf({layerOf("a", {0.2, 0.3}, {0.5, 0.5}), layerOf("b", {0.9, 0.1}, {0.1, 0.2}, 1)}),
                        sceneOf({layerOf("new")}));
  auto end = t.layers(1, 0);
  ASSERT_EQ(end.size(), 3u);
  EXPECT_EQ(end[0].sourceID, "new");
  EXPECT_EQ(end[0].size, (Size{1, 1}));
  for (std::size_t i = 1; i < 3; ++i) {
    EXPECT_NEAR(end[i].center.x, 0.78, 1e-12);
    EXPECT_NEAR(end[i].center.y, 0.78, 1e-12);
    EXPECT_NEAR(end[i].size.width, 0.28, 1e-12);
    EXPECT_NEAR(end[i].size.height, 0.28, 1e-12);
  }
}

TEST(MatchMove, SceneWithoutCommonSourcesCrossfadesOldLayersFirst) {
  auto hiddenNew = layerOf("new");
  hiddenNew.hidden = true;
  auto t = transitionOf(TransitionKind::matchMove, sceneOf({layerOf("old")}), sceneOf({hiddenNew}));
  auto layers = t.layers(0.3f, 0);
  ASSERT_EQ(layers.size(), 2u);  // hidden layers move too
  EXPECT_EQ(layers[0].sourceID, "old");
  EXPECT_FLOAT_EQ(layers[0].opacity, 0.7f);
  EXPECT_EQ(layers[1].sourceID, "new");
  EXPECT_FLOAT_EQ(layers[1].opacity, 0.3f);
}

TEST(MatchMove, SharedSourceTravelsFromTheFirstOldLayer) {
  auto first = layerOf("cam", {0.2, 0.2}, {0.2, 0.2});
  auto second = layerOf("cam", {0.9, 0.9}, {0.1, 0.1});
  auto target = layerOf("cam", {0.6, 0.4}, {0.6, 0.4});
  target.maskMode = MaskMode::include;
  target.maskPolygons = {{{0, 0}, {1, 0}, {0, 1}}};
  target.keyMode = KeyMode::chroma;
  auto t = transitionOf(TransitionKind::matchMove, sceneOf({first, second}), sceneOf({target}));
  auto layers = t.layers(0.25f, 0);
  ASSERT_EQ(layers.size(), 1u);  // the second old layer neither leaves nor travels
  const auto& r = layers[0];
  EXPECT_EQ(r.id, target.id);
  EXPECT_NEAR(r.center.x, 0.3, 1e-12);
  EXPECT_NEAR(r.center.y, 0.25, 1e-12);
  EXPECT_NEAR(r.size.width, 0.3, 1e-12);
  EXPECT_TRUE(r.fill);
  EXPECT_EQ(r.keyMode, KeyMode::chroma);
  EXPECT_EQ(r.maskMode, MaskMode::none);
  EXPECT_TRUE(r.maskPolygons->empty());
}

TEST(MatchMove, LeavingAndArrivingLayersFollowTheirGroupsMotion) {
  const Uuid group = Uuid::make();
  auto grouped = [&](LayerState layer) {
    layer.groupID = group;
    return layer;
  };
  // The group's shared members move by (0.1, 0.3) and double in size.
  MixerScene from = sceneOf({grouped(layerOf("a", {0.2, 0.2}, {0.2, 0.2})),
                             grouped(layerOf("b", {0.4, 0.2}, {0.2, 0.2})),
                             grouped(layerOf("gone", {0.6, 0.2}, {0.2, 0.2}))});
  MixerScene to = sceneOf({grouped(layerOf("a", {0.3, 0.5}, {0.4, 0.4}, 0)),
                           grouped(layerOf("b", {0.5, 0.5}, {0.4, 0.4}, 1)),
                           grouped(layerOf("arrives", {0.7, 0.7}, {0.2, 0.2}, 2))});
  auto t = transitionOf(TransitionKind::matchMove, from, to);
  auto layers = t.layers(0.5f, 0);
  ASSERT_EQ(layers.size(), 4u);
  EXPECT_EQ(layers[0].sourceID, "gone");
  EXPECT_NEAR(layers[0].center.x, 0.65, 1e-12);
  EXPECT_NEAR(layers[0].center.y, 0.35, 1e-12);
  EXPECT_NEAR(layers[0].size.width, 0.3, 1e-12);
  EXPECT_FLOAT_EQ(layers[0].opacity, 0.5f);
  EXPECT_EQ(layers[3].sourceID, "arrives");
  EXPECT_NEAR(layers[3].center.x, 0.65, 1e-12);
  EXPECT_NEAR(layers[3].center.y, 0.55, 1e-12);
  EXPECT_NEAR(layers[3].size.width, 0.2, 1e-12);
  EXPECT_FLOAT_EQ(layers[3].opacity, 0.5f);
}

TEST(MatchMove, ChangedFlipTurnsTheLayerOverAtTheMidpoint) {
  auto from = layerOf("cam", {0.5, 0.5}, {0.4, 0.4});
  auto to = layerOf("cam", {0.5, 0.5}, {0.8, 0.4});
  to.flipHorizontal = true;
  auto t = transitionOf(TransitionKind::matchMove, sceneOf({from}), sceneOf({to}));
  auto quarter = t.layers(0.25f, 0)[0];
  EXPECT_NEAR(quarter.size.width, 0.5 * 0.5, 1e-12);
  EXPECT_NEAR(quarter.size.height, 0.4, 1e-12);
  EXPECT_FALSE(quarter.flipHorizontal);
  auto mid = t.layers(0.5f, 0)[0];
  EXPECT_NEAR(mid.size.width, 0, 1e-12);
  EXPECT_TRUE(mid.flipHorizontal);
}

TEST(CustomTake, BaseSceneChangesAtTheCutPointUnderTheTracks) {
  auto t = transitionOf(TransitionKind::crossfade, sceneOf({layerOf("old")}), sceneOf({layerOf("new")}));
  CustomTransition custom;
  custom.cutPoint = 0.5;
  TransitionTrack track;
  track.sourceID = "logo";
  track.keyframes.push_back({0, LayerState::make("logo")});
  custom.tracks.push_back(track);
  t.custom = custom;
  std::vector<float> poses;
  t.poseUpdate = [&](float p) { poses.push_back(p); };

  auto before = t.layers(0.4f, 0);
  ASSERT_EQ(before.size(), 2u);
  EXPECT_EQ(before[0].sourceID, "old");
  EXPECT_FLOAT_EQ(before[0].opacity, 1);
  EXPECT_EQ(before[1].sourceID, "logo");
  auto after = t.layers(0.5f, 0);
  EXPECT_EQ(after[0].sourceID, "new");
  EXPECT_EQ(after[1].sourceID, "logo");
  EXPECT_EQ(poses, (std::vector<float>{0.4f, 0.5f}));
}

}  // namespace
}  // namespace tavorin

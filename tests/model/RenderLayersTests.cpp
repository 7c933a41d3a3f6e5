#include "model/MixerScene.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/ModelFixtures.h"

namespace tavorin {
namespace {

LayerState layerAt(const std::string& sourceID, int zOrder, bool hidden = false) {
  LayerState layer = LayerState::make(sourceID);
  layer.zOrder = zOrder;
  layer.hidden = hidden;
  return layer;
}

std::vector<std::string> sourcesOf(const std::vector<RenderLayer>& layers) {
  std::vector<std::string> ids;
  for (const auto& layer : layers) ids.push_back(layer.sourceID);
  return ids;
}

TEST(RenderLayers, HiddenLayerIsLeftOutHoweverHighItStands) {
  MixerScene scene;
  scene.layers = {layerAt("top", 1000, true), layerAt("a", 1), layerAt("b", 0)};
  EXPECT_EQ(sourcesOf(scene.renderLayers(0, 1)), (std::vector<std::string>{"b", "a"}));
}

TEST(RenderLayers, StacksByZOrderBottomFirstIncludingNegatives) {
  MixerScene scene;
  scene.layers = {layerAt("mid", 0), layerAt("top", 5), layerAt("bottom", -3)};
  EXPECT_EQ(sourcesOf(scene.renderLayers(0, 1)), (std::vector<std::string>{"bottom", "mid", "top"}));
}

// Enough layers that an unstable sort would not keep the array order by luck
// (small ranges are insertion-sorted, which happens to be stable).
TEST(RenderLayers, EqualZOrderKeepsArrayOrder) {
  MixerScene scene;
  std::vector<std::string> expected[3];
  for (int i = 0; i < 60; ++i) {
    const int z = (i * 7) % 3;
    scene.layers.push_back(layerAt("layer" + std::to_string(i), z));
    expected[z].push_back("layer" + std::to_string(i));
  }
  std::vector<std::string> order;
  for (const auto& band : expected) order.insert(order.end(), band.begin(), band.end());
  EXPECT_EQ(sourcesOf(scene.renderLayers(0, 1)), order);
}

TEST(RenderLayers, OpacityArgumentScalesEachLayer) {
  MixerScene scene;
  scene.layers = {layerAt("a", 0), layerAt("b", 1)};
  scene.layers[0].opacity = 0.5f;
  const auto half = scene.renderLayers(0, 0.5f);
  ASSERT_EQ(half.size(), 2u);
  EXPECT_FLOAT_EQ(half[0].opacity, 0.25f);
  EXPECT_FLOAT_EQ(half[1].opacity, 0.5f);
  for (const auto& layer : scene.renderLayers(0, 0)) EXPECT_EQ(layer.opacity, 0);
}

TEST(RenderLayers, SceneIsNotChangedByRendering) {
  MixerScene scene = testing::populatedScene();
  scene.layers.push_back(layerAt("low", -1));
  const MixerScene before = scene;
  (void)scene.renderLayers(10, 0.3f);
  EXPECT_EQ(scene, before);
}

}  // namespace
}  // namespace tavorin

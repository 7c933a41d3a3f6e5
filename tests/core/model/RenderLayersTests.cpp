#include "core/model/MixerScene.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/model/ModelFixtures.h"

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

TEST(RenderLayers, AppendKeepsWhatIsAlreadyInTheList) {
  MixerScene background;
  background.layers = {layerAt("bg", 9)};
  MixerScene overlay;
  overlay.layers = {layerAt("fg2", 2), layerAt("fg1", 1)};
  auto list = background.renderLayers(0, 1);
  overlay.appendRenderLayers(list, 0, 1);
  EXPECT_EQ(sourcesOf(list), (std::vector<std::string>{"bg", "fg1", "fg2"}));
}

TEST(RenderLayers, ToRenderLayerCopiesEveryDrawnField) {
  LayerState layer = testing::populatedLayer();
  const RenderLayer r = layer.toRenderLayer();
  EXPECT_EQ(r.id, layer.id);
  EXPECT_EQ(r.videoFilters, layer.videoFilters);
  EXPECT_EQ(r.sourceID, layer.sourceID);
  EXPECT_EQ(r.center, layer.center);
  EXPECT_EQ(r.size, layer.size);
  EXPECT_EQ(r.rotation, layer.rotation);
  EXPECT_EQ(r.opacity, layer.opacity);
  EXPECT_EQ(r.cropRect, layer.cropRect);
  EXPECT_EQ(r.fill, layer.fill);
  EXPECT_EQ(r.corners, layer.corners);
  EXPECT_EQ(r.borderColor, layer.borderColor);
  EXPECT_EQ(r.borderWidth, layer.borderWidth);
  EXPECT_EQ(r.shadowOpacity, layer.shadowOpacity);
  EXPECT_EQ(r.shadowRadius, layer.shadowRadius);
  EXPECT_EQ(r.shadowOffset, layer.shadowOffset);
  EXPECT_EQ(r.flipHorizontal, layer.flipHorizontal);
  EXPECT_EQ(r.flipVertical, layer.flipVertical);
  EXPECT_EQ(r.keyMode, layer.keyMode);
  EXPECT_EQ(r.keyColor, layer.keyColor);
  EXPECT_EQ(r.keyThreshold, layer.keyThreshold);
  EXPECT_EQ(r.keySmoothness, layer.keySmoothness);
  EXPECT_EQ(r.segmentationQuality, layer.segmentationQuality);
  EXPECT_EQ(r.segmentationSmoothing, layer.segmentationSmoothing);
  EXPECT_EQ(r.backgroundBlur, layer.backgroundBlur);
  EXPECT_EQ(r.cornerPin, layer.cornerPin);
  EXPECT_EQ(r.maskMode, layer.maskMode);
  EXPECT_EQ(r.maskPolygons, layer.maskPolygons);
}

TEST(RenderLayers, VisibleLayerIsDrawnAsItsFieldCopy) {
  MixerScene scene;
  LayerState layer = testing::populatedLayer();
  layer.hidden = false;
  layer.animation = {};  // no motion, so the drawn copy is the plain one
  scene.layers = {layer};
  const auto drawn = scene.renderLayers(0, 1);
  ASSERT_EQ(drawn.size(), 1u);
  EXPECT_EQ(drawn[0], layer.toRenderLayer());
}

}  // namespace
}  // namespace tavorin

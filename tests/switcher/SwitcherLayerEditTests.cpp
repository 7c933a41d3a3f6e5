#include "switcher/SwitcherEngine.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "support/ManualMainQueue.h"
#include "switcher/SwitcherTestSupport.h"

namespace tavorin {
namespace {

using namespace switcher_testing;

class SwitcherLayerEdit : public ::testing::Test {
 protected:
  testing::ManualMainQueue queue;
  SwitcherEngine engine{SwitcherEngine::Role::main, queue};

  const LayerState& layer(const Uuid& id) { return *engine.previewScene->layer(id); }
  Uuid idOf(std::size_t index) { return engine.previewScene->layers[index].id; }
  int zOf(const Uuid& id) { return layer(id).zOrder; }
};

TEST_F(SwitcherLayerEdit, DuplicateStepsAwayButStopsNearTheEdge) {
  Uuid id = engine.addLayer("cam");
  LayerState original = layer(id);
  original.center = {0.9, 0.5};
  engine.updateLayer(original);
  engine.duplicateLayer(layer(id));
  const LayerState& copy = engine.previewScene->layers.back();
  EXPECT_NE(copy.id, id);
  EXPECT_DOUBLE_EQ(copy.center.x, 0.92);
  EXPECT_DOUBLE_EQ(copy.center.y, 0.54);
  EXPECT_EQ(engine.selectedLayerID.get(), copy.id);
  EXPECT_EQ(copy.zOrder, 1);
}

TEST_F(SwitcherLayerEdit, GroupingNeedsTwoLayers) {
  engine.previewScene = sceneOf({"a", "b"});
  const MixerScene before = engine.previewScene.get();
  EXPECT_FALSE(engine.groupLayers({idOf(0)}));
  EXPECT_EQ(engine.previewScene.get(), before);
}

TEST_F(SwitcherLayerEdit, GroupedLayersLieTogetherInTheStack) {
  engine.previewScene = sceneOf({"a", "b", "c", "d"});
  const Uuid a = idOf(0), b = idOf(1), c = idOf(2), d = idOf(3);
  LayerState hiddenA = layer(a);
  hiddenA.hidden = true;
  engine.updateLayer(hiddenA);

  auto group = engine.groupLayers({a, c});
  ASSERT_TRUE(group);
  ASSERT_EQ(engine.previewScene->groups.size(), 1u);
  EXPECT_EQ(engine.previewScene->groups[0].name, "Group 1");
  EXPECT_FALSE(layer(a).hidden);
  // The group takes the place of its top member, c; b drops below it.
  EXPECT_EQ(zOf(d), 3);
  EXPECT_EQ(zOf(c), 2);
  EXPECT_EQ(zOf(a), 1);
  EXPECT_EQ(zOf(b), 0);

  engine.moveIntoGroup(d, *group);
  EXPECT_EQ(layer(d).groupID, group);
  engine.removeFromGroup(c);
  std::vector<int> members{zOf(a), zOf(d)};
  std::sort(members.begin(), members.end());
  EXPECT_EQ(members[1] - members[0], 1);
}

TEST_F(SwitcherLayerEdit, RemovingAGroupsLastLayerRemovesTheGroup) {
  engine.previewScene = sceneOf({"a", "b", "c"});
  auto group = engine.groupLayers({idOf(0), idOf(1)});
  ASSERT_TRUE(group);
  const Uuid a = idOf(0), b = idOf(1);
  engine.removeLayer(a);
  EXPECT_EQ(engine.previewScene->groups.size(), 1u);
  engine.removeLayer(b);
  EXPECT_TRUE(engine.previewScene->groups.empty());
  EXPECT_EQ(sourcesOf(engine.previewScene.get()), Sources{"c"});
}

class SwitcherCrop : public SwitcherLayerEdit {
 protected:
  Uuid cropped(Rect crop, Size sourcePixels) {
    engine.sourcePixelSize = [sourcePixels](const std::string&) { return std::optional<Size>(sourcePixels); };
    Uuid id = engine.addLayer("cam");
    LayerState l = layer(id);
    l.cropRect = crop;
    engine.updateLayer(l);
    return id;
  }
};

TEST_F(SwitcherCrop, EditingShowsTheWholeFrameThenLeavingBakesTheCropIntoTheBox) {
  // A 4:3 frame in a square-on-screen box of 0.5 x 0.5 fills 0.375 x 0.5.
  Uuid id = cropped(Rect{{0, 0}, {0.5, 1}}, {1440, 1080});
  engine.setCropEditing(true);
  const LayerState* shown = engine.store.preview()->layer(id);
  EXPECT_EQ(shown->cropRect, (Rect{{0, 0}, {1, 1}}));
  EXPECT_FALSE(shown->fill);

  engine.setCropEditing(false);
  const LayerState& l = layer(id);
  EXPECT_NEAR(l.center.x, 0.40625, 1e-6);
  EXPECT_NEAR(l.center.y, 0.5, 1e-6);
  EXPECT_NEAR(l.size.width, 0.1875, 1e-6);
  EXPECT_NEAR(l.size.height, 0.5, 1e-6);
  EXPECT_TRUE(l.fill);
  EXPECT_EQ(engine.store.preview()->layer(id)->cropRect, (Rect{{0, 0}, {0.5, 1}}));
}

TEST_F(SwitcherCrop, NearlyWholeCropIsNotBaked) {
  Uuid id = cropped(Rect{{0, 0}, {0.9995, 0.9995}}, {1920, 1080});
  const LayerState before = layer(id);
  engine.setCropEditing(true);
  engine.setCropEditing(false);
  EXPECT_EQ(layer(id), before);
}

TEST_F(SwitcherCrop, FrameShapeCropsToTheShapeWithoutBaking) {
  Uuid id = cropped(Rect{{0, 0}, {0.5, 0.5}}, {1920, 1080});
  LayerState l = layer(id);
  l.size = {0.6, 0.6};
  engine.updateLayer(l);
  engine.setCropEditing(true);
  engine.applyFrameShape(1.0, 0.5f);
  EXPECT_FALSE(engine.cropEditing.get());
  const LayerState& shaped = layer(id);
  EXPECT_EQ(shaped.center, (Point{0.5, 0.5}));  // not baked
  EXPECT_NEAR(shaped.cropRect.width(), 0.5625, 1e-9);
  EXPECT_NEAR(shaped.cropRect.minX(), 0.21875, 1e-9);
  EXPECT_DOUBLE_EQ(shaped.cropRect.height(), 1);
  // 0.6 wide would be taller than 0.95 on a 16:9 canvas.
  EXPECT_DOUBLE_EQ(shaped.size.height, 0.95);
  EXPECT_NEAR(shaped.size.width, 0.95 * 9 / 16, 1e-12);
  EXPECT_EQ(shaped.corners, CornerRadii::uniform(0.5f));
  EXPECT_TRUE(shaped.fill);
}

TEST_F(SwitcherLayerEdit, MaskRegionNeedsThreePoints) {
  Uuid id = engine.addLayer("cam");
  engine.setMaskEditing(true);
  engine.maskDraft = std::vector<Point>{{0, 0}, {1, 0}};
  engine.closeMaskRegion();
  EXPECT_TRUE(engine.maskDraft->empty());
  EXPECT_TRUE(layer(id).maskPolygons->empty());
  EXPECT_EQ(layer(id).maskMode, MaskMode::none);

  engine.maskDraft = std::vector<Point>{{0, 0}, {1, 0}, {1, 1}, {0.5, 0.5}};
  engine.undoMaskPoint();
  engine.closeMaskRegion();
  ASSERT_EQ(layer(id).maskPolygons->size(), 1u);
  EXPECT_EQ((*layer(id).maskPolygons)[0].size(), 3u);
  EXPECT_EQ(layer(id).maskMode, MaskMode::exclude);

  engine.clearMask();
  EXPECT_TRUE(layer(id).maskPolygons->empty());
}

TEST_F(SwitcherLayerEdit, NewFilterTakesItsKindsDefaultsAndMoves) {
  Uuid id = engine.addLayer("cam");
  auto temperature = engine.addVideoFilter(VideoFilterKind::temperature, id);
  ASSERT_TRUE(temperature);
  const auto& added = (*layer(id).videoFilters)[0];
  EXPECT_TRUE(added.enabled);
  EXPECT_EQ(added.params, (std::map<std::string, double>{{"temp", 6500}, {"tint", 0}}));
  EXPECT_FALSE(engine.addVideoFilter(VideoFilterKind::bw, Uuid::make()));

  auto blur = *engine.addVideoFilter(VideoFilterKind::gaussianBlur, id);
  auto bw = *engine.addVideoFilter(VideoFilterKind::bw, id);
  engine.moveVideoFilter(0, 2, id);
  const auto& filters = *layer(id).videoFilters;
  EXPECT_EQ(filters[0].id, blur);
  EXPECT_EQ(filters[1].id, bw);
  EXPECT_EQ(filters[2].id, *temperature);
}

}  // namespace
}  // namespace tavorin

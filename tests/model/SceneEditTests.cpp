#include <gtest/gtest.h>

#include "model/CropBaking.h"
#include "model/FrameShape.h"
#include "model/LayerFilters.h"
#include "model/LayerGroups.h"
#include "model/LayerMasks.h"
#include "model/SceneStacking.h"

namespace tavorin {
namespace {

constexpr double kWide = 16.0 / 9.0;

// Layers of `sources` stacked in the order given, zOrder 0, 1, 2…
MixerScene stackOf(std::initializer_list<std::string> sources) {
  MixerScene scene;
  for (const auto& source : sources) {
    scene.layers.push_back(LayerState::make(source));
    scene.layers.back().zOrder = static_cast<int>(scene.layers.size()) - 1;
  }
  return scene;
}

std::vector<int> zOrders(const MixerScene& scene) {
  std::vector<int> out;
  for (const auto& layer : scene.layers) out.push_back(layer.zOrder);
  return out;
}

TEST(SceneStacking, AddedLayersGoOnTopWithIdsOfTheirOwn) {
  MixerScene scene = stackOf({"a", "b"});
  scene.layers[0].zOrder = 5;  // the top need not be the last in the list
  LayerState original = scene.layers[1];
  original.center = {0.9, 0.5};
  original.groupID = Uuid::make();
  const LayerState added = *scene.layer(addNewLayer(scene, "cam"));
  const LayerState duplicate = *scene.layer(addDuplicate(scene, original));
  const LayerState pasted = *scene.layer(addPasted(scene, original));
  EXPECT_EQ(zOrders(scene), (std::vector<int>{5, 1, 6, 7, 8}));
  EXPECT_EQ(added.size, (Size{0.5, 0.5}));
  EXPECT_NE(duplicate.id, original.id);
  EXPECT_DOUBLE_EQ(duplicate.center.x, 0.92);  // a step away, but not off the edge
  EXPECT_DOUBLE_EQ(duplicate.center.y, 0.54);
  EXPECT_NE(pasted.id, original.id);
  EXPECT_FALSE(pasted.groupID);
}

TEST(LayerGroups, GroupedLayersLieTogetherWhereTheirTopMemberStood) {
  MixerScene scene = stackOf({"a", "b", "c", "d"});
  const Uuid a = scene.layers[0].id, b = scene.layers[1].id, c = scene.layers[2].id, d = scene.layers[3].id;
  scene.layers[0].hidden = true;
  const MixerScene before = scene;
  EXPECT_FALSE(groupLayers(scene, {a}));
  EXPECT_EQ(scene, before) << "a group needs two layers";

  const auto group = groupLayers(scene, {a, c});
  ASSERT_TRUE(group);
  ASSERT_EQ(scene.groups.size(), 1u);
  EXPECT_EQ(scene.groups[0].name, "Group 1");
  EXPECT_FALSE(scene.layer(a)->hidden);
  EXPECT_EQ(zOrders(scene), (std::vector<int>{1, 0, 2, 3}));  // b drops below the group
  ASSERT_TRUE(moveIntoGroup(scene, d, *group));
  ASSERT_TRUE(removeFromGroup(scene, c));
  EXPECT_EQ(zOrders(scene), (std::vector<int>{2, 0, 1, 3}));  // a joins d on top; c goes below them

  removeLayer(scene, a);
  EXPECT_EQ(scene.groups.size(), 1u);
  removeLayer(scene, d);
  EXPECT_TRUE(scene.groups.empty()) << "the group goes with its last layer";
  EXPECT_TRUE(scene.layer(b) && scene.layer(c));
}

TEST(CropBaking, CroppedPartKeepsItsPlaceAndBecomesTheBox) {
  // A 4:3 frame in a box square on a 16:9 screen fills 0.375 x 0.5 of it.
  LayerState layer = LayerState::make("cam");
  layer.size = {0.5, 0.5};
  layer.cropRect = Rect{{0, 0}, {0.5, 1}};
  ASSERT_TRUE(bakeCrop(layer, {1440, 1080}, kWide));
  EXPECT_NEAR(layer.center.x, 0.40625, 1e-6);
  EXPECT_NEAR(layer.center.y, 0.5, 1e-6);
  EXPECT_NEAR(layer.size.width, 0.1875, 1e-6);
  EXPECT_NEAR(layer.size.height, 0.5, 1e-6);
  EXPECT_TRUE(layer.fill);

  LayerState nearlyWhole = LayerState::make("cam");
  nearlyWhole.cropRect = Rect{{0, 0}, {0.9995, 0.9995}};
  const LayerState before = nearlyWhole;
  EXPECT_FALSE(bakeCrop(nearlyWhole, {1920, 1080}, kWide));
  EXPECT_EQ(nearlyWhole, before);
}

TEST(FrameShape, CropsASquareAboutTheCentreAndShapesTheBox) {
  struct Case {
    Size source;
    double boxWidth;
    Rect crop;
    Size box;
  };
  for (const Case& test : {// 0.6 wide would be taller than 0.95 on a 16:9 canvas.
                           Case{{1920, 1080}, 0.6, Rect{{0.21875, 0}, {0.5625, 1}}, {0.95 * 9 / 16, 0.95}},
                           Case{{1080, 1920}, 0.3, Rect{{0, 0.21875}, {1, 0.5625}}, {0.3, 0.3 * 16 / 9}}}) {
    LayerState layer = LayerState::make("cam");
    layer.size = {test.boxWidth, 0.2};
    ASSERT_TRUE(applyFrameShape(layer, 1.0, 0.5f, test.source, kWide));
    EXPECT_NEAR(layer.cropRect.minX(), test.crop.minX(), 1e-9);
    EXPECT_NEAR(layer.cropRect.minY(), test.crop.minY(), 1e-9);
    EXPECT_NEAR(layer.cropRect.width(), test.crop.width(), 1e-9);
    EXPECT_NEAR(layer.cropRect.height(), test.crop.height(), 1e-9);
    EXPECT_NEAR(layer.size.width, test.box.width, 1e-12);
    EXPECT_NEAR(layer.size.height, test.box.height, 1e-12);
    EXPECT_EQ(layer.corners, CornerRadii::uniform(0.5f));
    EXPECT_TRUE(layer.fill);
  }
}

TEST(LayerFilters, NewFilterTakesItsKindsDefaultsAndMovesAlongTheStack) {
  LayerState layer;
  const Uuid temperature = addVideoFilter(layer, VideoFilterKind::temperature);
  EXPECT_TRUE(layer.videoFilters->at(0).enabled);
  EXPECT_EQ(layer.videoFilters->at(0).params, (std::map<std::string, double>{{"temp", 6500}, {"tint", 0}}));
  const Uuid blur = addVideoFilter(layer, VideoFilterKind::gaussianBlur);
  const Uuid bw = addVideoFilter(layer, VideoFilterKind::bw);
  struct Case {
    std::size_t from, to;
    std::vector<Uuid> order;  // empty: nothing moves
  };
  for (const Case& test : {Case{0, 2, {blur, bw, temperature}}, Case{2, 0, {bw, temperature, blur}},
                           Case{1, 9, {temperature, bw, blur}}, Case{1, 1, {}}, Case{3, 0, {}}}) {
    LayerState moved = layer;
    EXPECT_EQ(moveVideoFilter(moved, test.from, test.to), !test.order.empty()) << test.from << " to " << test.to;
    std::vector<Uuid> order;
    for (const auto& filter : *moved.videoFilters) order.push_back(filter.id);
    EXPECT_EQ(order, (test.order.empty() ? std::vector<Uuid>{temperature, blur, bw} : test.order));
  }
}

TEST(LayerMasks, RegionNeedsThreePointsAndFirstTurnsOnExclusion) {
  LayerState layer;
  EXPECT_FALSE(addMaskRegion(layer, {{0, 0}, {1, 0}}));
  EXPECT_TRUE(layer.maskPolygons->empty());
  ASSERT_TRUE(addMaskRegion(layer, {{0, 0}, {1, 0}, {1, 1}}));
  EXPECT_EQ(layer.maskMode, MaskMode::exclude);
  layer.maskMode = MaskMode::include;
  ASSERT_TRUE(addMaskRegion(layer, {{0, 0}, {0, 1}, {1, 1}}));
  EXPECT_EQ(layer.maskMode, MaskMode::include) << "a mode the operator chose stays";
  EXPECT_EQ(layer.maskPolygons->size(), 2u);
}

}  // namespace
}  // namespace tavorin

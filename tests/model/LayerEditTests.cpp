#include <optional>

#include <gtest/gtest.h>

#include "model/CropBaking.h"
#include "model/FrameShape.h"
#include "model/LayerFilters.h"
#include "model/LayerMasks.h"

namespace tavorin {
namespace {

constexpr double kWide = 16.0 / 9.0;

LayerState layerWith(Size size, Rect crop = Rect{{0, 0}, {1, 1}}) {
  LayerState layer = LayerState::make("cam");
  layer.size = size;
  layer.cropRect = crop;
  return layer;
}

TEST(CropBaking, CroppedPartKeepsItsPlaceAndBecomesTheBox) {
  struct Case {
    const char* name;
    Rect crop;
    Size source;
    std::optional<Rect> baked;  // centre and size afterwards; nothing: left as it was
  };
  const Case cases[] = {
      // A 4:3 frame in a box square on screen fills 0.375 x 0.5 of it.
      {"left half of a 4:3 frame", Rect{{0, 0}, {0.5, 1}}, {1440, 1080}, Rect{{0.40625, 0.5}, {0.1875, 0.5}}},
      {"bottom right quarter of a 16:9 frame", Rect{{0.5, 0.5}, {0.5, 0.5}}, {1920, 1080},
       Rect{{0.625, 0.625}, {0.25, 0.25}}},
      {"nearly the whole frame", Rect{{0, 0}, {0.9995, 0.9995}}, {1920, 1080}, std::nullopt},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(test.name);
    LayerState layer = layerWith({0.5, 0.5}, test.crop);
    const LayerState before = layer;
    ASSERT_EQ(bakeCrop(layer, test.source, kWide), test.baked.has_value());
    if (!test.baked) {
      EXPECT_EQ(layer, before);
      continue;
    }
    EXPECT_NEAR(layer.center.x, test.baked->origin.x, 1e-6);
    EXPECT_NEAR(layer.center.y, test.baked->origin.y, 1e-6);
    EXPECT_NEAR(layer.size.width, test.baked->size.width, 1e-6);
    EXPECT_NEAR(layer.size.height, test.baked->size.height, 1e-6);
    EXPECT_TRUE(layer.fill);
    EXPECT_EQ(layer.cropRect, test.crop);
  }
}

TEST(FrameShape, CropsToTheShapeAboutTheCentreAndShapesTheBox) {
  struct Case {
    const char* name;
    Size source;
    double boxWidth;
    Rect crop;
    Size box;
  };
  const Case cases[] = {
      // 0.6 wide would be taller than 0.95 on a 16:9 canvas.
      {"square of a wide frame", {1920, 1080}, 0.6, Rect{{0.21875, 0}, {0.5625, 1}}, {0.95 * 9 / 16, 0.95}},
      {"square of a tall frame", {1080, 1920}, 0.3, Rect{{0, 0.21875}, {1, 0.5625}}, {0.3, 0.3 * 16 / 9}},
      {"square of a frame not seen yet", {0, 0}, 0.3, Rect{{0.21875, 0}, {0.5625, 1}}, {0.3, 0.3 * 16 / 9}},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(test.name);
    LayerState layer = layerWith({test.boxWidth, 0.2});
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
  LayerState layer = layerWith({0.3, 0.2});
  const LayerState before = layer;
  EXPECT_FALSE(applyFrameShape(layer, 0, 0.5f, {1920, 1080}, kWide));
  EXPECT_EQ(layer, before);
}

TEST(LayerFilters, NewFilterTakesItsKindsDefaultsAndMovesAlongTheStack) {
  LayerState layer;
  const Uuid temperature = addVideoFilter(layer, VideoFilterKind::temperature);
  ASSERT_EQ(layer.videoFilters.size(), 1u);
  EXPECT_TRUE(layer.videoFilters[0].enabled);
  EXPECT_EQ(layer.videoFilters[0].params, (std::map<std::string, double>{{"temp", 6500}, {"tint", 0}}));
  const Uuid blur = addVideoFilter(layer, VideoFilterKind::gaussianBlur);
  const Uuid bw = addVideoFilter(layer, VideoFilterKind::bw);

  struct Case {
    std::size_t from, to;
    std::vector<Uuid> order;
  };
  const std::vector<Uuid> unmoved{temperature, blur, bw};
  const Case cases[] = {
      {0, 2, {blur, bw, temperature}}, {2, 0, {bw, temperature, blur}}, {1, 9, {temperature, bw, blur}},
      {1, 1, unmoved},                 {3, 0, unmoved},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(::testing::Message() << test.from << " to " << test.to);
    LayerState moved = layer;
    EXPECT_EQ(moveVideoFilter(moved, test.from, test.to), test.order != unmoved);
    std::vector<Uuid> order;
    for (const auto& filter : moved.videoFilters) order.push_back(filter.id);
    EXPECT_EQ(order, test.order);
  }

  const LayerState before = layer;
  setVideoFilterEnabled(layer, Uuid::make(), false);
  setVideoFilterParam(layer, Uuid::make(), "radius", 1);
  removeVideoFilter(layer, Uuid::make());
  EXPECT_EQ(layer, before) << "unknown filter ids change nothing";
  setVideoFilterParam(layer, blur, "radius", 3);
  removeVideoFilter(layer, bw);
  ASSERT_EQ(layer.videoFilters.size(), 2u);
  EXPECT_EQ(layer.videoFilters[1].params.at("radius"), 3);
}

TEST(LayerMasks, RegionNeedsThreePointsAndFirstTurnsOnExclusion) {
  LayerState layer;
  const LayerState before = layer;
  EXPECT_FALSE(addMaskRegion(layer, {{0, 0}, {1, 0}}));
  EXPECT_EQ(layer, before);
  ASSERT_TRUE(addMaskRegion(layer, {{0, 0}, {1, 0}, {1, 1}}));
  ASSERT_EQ(layer.maskPolygons.size(), 1u);
  EXPECT_EQ(layer.maskPolygons[0].size(), 3u);
  EXPECT_EQ(layer.maskMode, MaskMode::exclude);
  layer.maskMode = MaskMode::include;
  ASSERT_TRUE(addMaskRegion(layer, {{0, 0}, {0, 1}, {1, 1}}));
  EXPECT_EQ(layer.maskMode, MaskMode::include) << "a mode the operator chose stays";
}

}  // namespace
}  // namespace tavorin

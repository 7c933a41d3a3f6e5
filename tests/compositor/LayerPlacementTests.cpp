#include <numbers>

#include "compositor/CompositorTestSupport.h"
#include "compositor/LayerUniforms.h"

namespace tavorin::testing {
namespace {

using LayerPlacement = CompositorTest;

TEST(LayerBoxes, WideFrameOnTheVerticalCanvasKeepsItsAspect) {
  RenderLayer layer;
  const LayerBox box = layerBox(layer, 1920, 1080, 1080.0f / 1920.0f);
  EXPECT_FLOAT_EQ(box.width, 1.0f);
  EXPECT_FLOAT_EQ(box.height, 0.31640625f);
  layer.fill = true;
  EXPECT_FLOAT_EQ(layerBox(layer, 1920, 1080, 1080.0f / 1920.0f).height, 1.0f);
}

TEST_F(LayerPlacement, EmptyPlanIsOpaqueBlack) {
  auto out = compose(RenderPlan{});
  ASSERT_TRUE(out);
  EXPECT_TRUE(near(at(*out, 0.5, 0.5), kBlack, 0));
  EXPECT_TRUE(near(at(*out, 0.0, 0.0), kBlack, 0));
}

TEST_F(LayerPlacement, BoxLandsAtCenterAndSize) {
  frames["red"] = solidFrame(160, 90, kRed);
  auto out = compose({layerOf("red", {0.25, 0.75}, {0.5, 0.5})});
  EXPECT_TRUE(near(at(*out, 0.02, 0.52), kRed));
  EXPECT_TRUE(near(at(*out, 0.48, 0.98), kRed));
  EXPECT_TRUE(near(at(*out, 0.52, 0.75), kBlack));
  EXPECT_TRUE(near(at(*out, 0.25, 0.48), kBlack));
}

TEST_F(LayerPlacement, FitKeepsAspectAndFillStretches) {
  frames["square"] = solidFrame(100, 100, kRed);
  RenderLayer layer = layerOf("square");
  // A square picture in a full 16:9 box is 0.5625 of the width, centred.
  auto fit = compose({layer});
  EXPECT_TRUE(near(at(*fit, 0.20, 0.5), kBlack));
  EXPECT_TRUE(near(at(*fit, 0.23, 0.5), kRed));
  EXPECT_TRUE(near(at(*fit, 0.77, 0.5), kRed));
  EXPECT_TRUE(near(at(*fit, 0.80, 0.5), kBlack));
  layer.fill = true;
  auto filled = compose({layer});
  EXPECT_TRUE(near(at(*filled, 0.01, 0.5), kRed));
  EXPECT_TRUE(near(at(*filled, 0.99, 0.99), kRed));
}

TEST_F(LayerPlacement, CropShowsOnlyTheCroppedPart) {
  frames["halves"] = halvesFrame(100, 50, kRed, kBlue);
  RenderLayer layer = layerOf("halves");
  layer.fill = true;
  layer.cropRect = {{0, 0}, {0.5, 1}};
  auto out = compose({layer});
  EXPECT_TRUE(near(at(*out, 0.05, 0.5), kRed));
  EXPECT_TRUE(near(at(*out, 0.95, 0.5), kRed));
}

TEST_F(LayerPlacement, QuarterTurnOnWideCanvasKeepsPixelShape) {
  frames["red"] = solidFrame(100, 100, kRed);
  RenderLayer layer = layerOf("red", {0.5, 0.5}, {0.25, 0.25});
  layer.fill = true;  // 80 x 45 pixels before turning
  layer.rotation = std::numbers::pi_v<float> / 2;
  auto out = compose({layer});
  // Turned, it stands 45 wide and 80 high about (160, 90).
  EXPECT_TRUE(near(pixelAt(*out, 132, 90), kBlack));
  EXPECT_TRUE(near(pixelAt(*out, 145, 90), kRed));
  EXPECT_TRUE(near(pixelAt(*out, 160, 54), kRed));
  EXPECT_TRUE(near(pixelAt(*out, 160, 126), kRed));
  EXPECT_TRUE(near(pixelAt(*out, 160, 46), kBlack));
}

TEST_F(LayerPlacement, FlipsMirrorThePicture) {
  frames["quads"] = quadrantFrame(100, 100, kRed, kGreen, kBlue, kWhite);
  RenderLayer layer = layerOf("quads");
  layer.fill = true;
  auto topLeft = [&](bool h, bool v) {
    layer.flipHorizontal = h;
    layer.flipVertical = v;
    return at(*compose({layer}), 0.1, 0.1);
  };
  EXPECT_TRUE(near(topLeft(false, false), kRed));
  EXPECT_TRUE(near(topLeft(true, false), kGreen));
  EXPECT_TRUE(near(topLeft(false, true), kWhite));
  EXPECT_TRUE(near(topLeft(true, true), kBlue));
}

TEST_F(LayerPlacement, OpacityBlendsAndNearZeroIsSkipped) {
  frames["red"] = solidFrame(16, 9, kRed);
  RenderLayer layer = layerOf("red");
  layer.opacity = 0.5f;
  EXPECT_TRUE(near(at(*compose({layer}), 0.5, 0.5), {128, 0, 0, 255}, 2));

  layer.opacity = 0.001f;
  frameProviderCalls = 0;
  EXPECT_TRUE(near(at(*compose({layer}), 0.5, 0.5), kBlack, 0));
  EXPECT_EQ(frameProviderCalls, 0);
  layer.opacity = 0.0011f;
  compose({layer});
  EXPECT_EQ(frameProviderCalls, 1);
}

TEST_F(LayerPlacement, MissingSourceDrawsNothingWhileOthersDraw) {
  frames["red"] = solidFrame(16, 9, kRed);
  RenderLayer ghost = layerOf("ghost");
  ghost.shadowOpacity = 1;
  auto out = compose({layerOf("red"), ghost});
  EXPECT_TRUE(near(at(*out, 0.5, 0.5), kRed));
  EXPECT_TRUE(near(at(*out, 0.02, 0.02), kRed));
}

}  // namespace
}  // namespace tavorin::testing

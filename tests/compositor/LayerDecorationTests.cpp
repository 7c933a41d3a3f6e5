#include <cmath>

#include "compositor/CompositorTestSupport.h"

namespace tavorin::testing {
namespace {

using LayerDecoration = CompositorTest;

TEST_F(LayerDecoration, HalfRadiusTurnsASquareIntoACircle) {
  frames["red"] = solidFrame(100, 100, kRed);
  RenderLayer layer = layerOf("red", {0.5, 0.5}, {0.28125, 0.5});  // 90 x 90 pixels
  layer.fill = true;
  layer.corners = CornerRadii::uniform(0.5f);
  auto out = compose({layer});
  EXPECT_TRUE(near(pixelAt(*out, 160, 90), kRed));
  EXPECT_TRUE(near(pixelAt(*out, 160, 47), kRed));      // edge middle
  EXPECT_TRUE(near(pixelAt(*out, 117, 47), kBlack));    // box corner
  EXPECT_TRUE(near(pixelAt(*out, 188, 118), kRed));     // 40 px from the centre on the diagonal
  EXPECT_TRUE(near(pixelAt(*out, 196, 126), kBlack));   // 51 px out: inside the box, outside the circle
}

TEST_F(LayerDecoration, BorderLiesInsideTheEdge) {
  frames["red"] = solidFrame(16, 9, kRed);
  RenderLayer layer = layerOf("red");
  layer.fill = true;
  layer.borderWidth = 0.1f;  // 18 pixels of a 180-pixel box
  layer.borderColor = {1, 1, 1, 1};
  auto out = compose({layer});
  EXPECT_TRUE(near(pixelAt(*out, 4, 90), kWhite));
  EXPECT_TRUE(near(pixelAt(*out, 160, 14), kWhite));
  EXPECT_TRUE(near(pixelAt(*out, 26, 90), kRed));
  EXPECT_TRUE(near(pixelAt(*out, 160, 24), kRed));
}

TEST_F(LayerDecoration, ShadowFallsInTheOffsetDirection) {
  frames["white"] = solidFrame(16, 9, kWhite);
  frames["red"] = solidFrame(16, 9, kRed);
  RenderLayer background = layerOf("white");
  background.fill = true;
  RenderLayer card = layerOf("red", {0.5, 0.5}, {0.25, 0.25});  // x 120..200, y 67.5..112.5
  card.fill = true;
  card.shadowOpacity = 1;
  card.shadowRadius = 0.05f;
  card.shadowOffset = {0.3, 0.3};  // 13.5 pixels right and down
  auto out = compose({background, card});
  EXPECT_LT(pixelAt(*out, 207, 120).r, 40);   // below right: in shadow
  EXPECT_LT(pixelAt(*out, 150, 122).g, 40);
  EXPECT_TRUE(near(pixelAt(*out, 115, 75), kWhite, 8));  // left of the card: lit
  EXPECT_TRUE(near(pixelAt(*out, 150, 62), kWhite, 8));  // above it: lit
  EXPECT_TRUE(near(pixelAt(*out, 160, 90), kRed));
}

TEST_F(LayerDecoration, ChromaKeyRemovesTheKeyColourOnly) {
  frames["blue"] = solidFrame(16, 9, kBlue);
  frames["screen"] = halvesFrame(100, 50, kGreen, kRed);
  RenderLayer background = layerOf("blue");
  background.fill = true;
  RenderLayer keyed = layerOf("screen");
  keyed.fill = true;
  keyed.keyMode = KeyMode::chroma;
  keyed.keyColor = {0, 1, 0, 1};
  auto out = compose({background, keyed});
  EXPECT_TRUE(near(at(*out, 0.25, 0.5), kBlue));
  EXPECT_TRUE(near(at(*out, 0.75, 0.5), kRed));

  frames["grey"] = solidFrame(16, 9, {128, 128, 128, 255});
  keyed.sourceID = "grey";
  EXPECT_TRUE(near(at(*compose({background, keyed}), 0.5, 0.5), {128, 128, 128, 255}));
}

TEST_F(LayerDecoration, PolygonMasksExcludeAndInclude) {
  frames["blue"] = solidFrame(16, 9, kBlue);
  frames["red"] = solidFrame(16, 9, kRed);
  RenderLayer background = layerOf("blue");
  background.fill = true;
  RenderLayer masked = layerOf("red");
  masked.fill = true;
  masked.maskPolygons = {{{0, 0}, {0.5, 0}, {0.5, 1}, {0, 1}}};

  masked.maskMode = MaskMode::exclude;
  auto out = compose({background, masked});
  EXPECT_TRUE(near(at(*out, 0.25, 0.5), kBlue));
  EXPECT_TRUE(near(at(*out, 0.75, 0.5), kRed));

  masked.maskMode = MaskMode::include;
  out = compose({background, masked});
  EXPECT_TRUE(near(at(*out, 0.25, 0.5), kRed));
  EXPECT_TRUE(near(at(*out, 0.75, 0.5), kBlue));

  // Regions of two points are no mask at all.
  masked.maskPolygons = {{{0, 0}, {1, 1}}};
  out = compose({background, masked});
  EXPECT_TRUE(near(at(*out, 0.25, 0.5), kRed));
  EXPECT_TRUE(near(at(*out, 0.75, 0.5), kRed));
}

TEST_F(LayerDecoration, MaskCacheEmptiesWhenFull) {
  PolygonMaskCache cache;
  for (int i = 0; i < 49; ++i) {
    const double x = 0.5 + i * 0.001;
    EXPECT_NE(cache.maskTexture({{{0, 0}, {x, 0}, {x, 1}}}), 0u);
  }
  EXPECT_EQ(cache.size(), 49u);
  cache.maskTexture({{{0, 0}, {0.5, 0}, {0.5, 1}}});  // a hit adds nothing
  EXPECT_EQ(cache.size(), 49u);
  cache.maskTexture({{{0, 0}, {0.9, 0}, {0.9, 1}}});
  EXPECT_EQ(cache.size(), 1u);
}

TEST_F(LayerDecoration, PersonKeyWaitsForItsMaskAndBlursTheBackground) {
  frames["green"] = solidFrame(16, 9, kGreen);
  frames["cam"] = halvesFrame(160, 90, kRed, kBlue);
  RenderLayer background = layerOf("green");
  background.fill = true;
  RenderLayer person = layerOf("cam");
  person.fill = true;
  person.keyMode = KeyMode::personSegmentation;
  person.keySmoothness = 0;

  // No mask yet: the whole frame shows.
  auto out = compose({background, person});
  EXPECT_TRUE(near(at(*out, 0.9, 0.5), kBlue));

  // A mask marking the left half keeps the person there and lets the background through elsewhere.
  std::vector<std::uint8_t> bits(160 * 90);
  for (int y = 0; y < 90; ++y)
    for (int x = 0; x < 80; ++x) bits[y * 160 + x] = 255;
  GLTexture mask = makeR8Texture(160, 90, bits.data());
  maskProvider = [&](const std::string& id) -> std::optional<LayerTexture> {
    if (id != "cam") return std::nullopt;
    return LayerTexture{mask.get(), 160, 90};
  };
  out = compose({background, person});
  EXPECT_TRUE(near(at(*out, 0.1, 0.5), kRed));
  EXPECT_TRUE(near(at(*out, 0.9, 0.5), kGreen));

  // With background blur the frame itself, blurred, stands behind the person.
  person.backgroundBlur = 0.2f;
  out = compose({background, person});
  EXPECT_TRUE(near(at(*out, 0.1, 0.5), kRed));
  EXPECT_TRUE(near(at(*out, 0.95, 0.5), kBlue, 6));
  const Rgba seam = at(*out, 0.52, 0.5);  // blurred across the red/blue edge
  EXPECT_GT(seam.r, 20);
  EXPECT_GT(seam.b, 20);
  EXPECT_EQ(compositor->blur().cachedCount(), 1u);
}

}  // namespace
}  // namespace tavorin::testing

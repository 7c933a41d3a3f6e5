// What the compositor does beyond one plan's pixels: the geometry it computes,
// what it skips, the caches it keeps, masks that arrive late, the monitor's
// letterbox, and how a broken shader is reported.
#include "support/CompositorTestSupport.h"
#include "compositor/FrameReadback.h"
#include "compositor/LayerUniforms.h"
#include "compositor/MonitorRenderer.h"
#include "compositor/QuadGeometry.h"
#include "compositor/RenderTarget.h"
#include "platform/gl/GLFailure.h"
#include "platform/gl/GLProgram.h"

namespace tavorin::testing {
namespace {

using CompositorDrawing = CompositorTest;

TEST(LayerBoxes, WideFrameOnTheVerticalCanvasKeepsItsAspect) {
  RenderLayer layer;
  const LayerBox box = layerBox(layer, 1920, 1080, 1080.0f / 1920.0f);
  EXPECT_FLOAT_EQ(box.width, 1.0f);
  EXPECT_FLOAT_EQ(box.height, 0.31640625f);
  layer.fill = true;
  EXPECT_FLOAT_EQ(layerBox(layer, 1920, 1080, 1080.0f / 1920.0f).height, 1.0f);
}

TEST(PinWeights, ParallelogramsAreAffineAndDegeneratePinsAreSafe) {
  const Float4 full = pinWeights({-1, 1}, {1, 1}, {1, -1}, {-1, -1});
  for (float w : full) EXPECT_FLOAT_EQ(w, 2);
  const Float4 line = pinWeights({0, 0}, {1, 0}, {2, 0}, {0, 1});
  for (float w : line) EXPECT_FLOAT_EQ(w, 1);
  // A trapezoid: the short edge's corners weigh more.
  const Float4 trapezoid = pinWeights({-0.5, 1}, {0.5, 1}, {1, -1}, {-1, -1});
  EXPECT_GT(trapezoid[2], trapezoid[0]);
  EXPECT_FLOAT_EQ(trapezoid[2], trapezoid[3]);
}

TEST_F(CompositorDrawing, NearlyTransparentLayerIsNotEvenFetched) {
  frames["red"] = solidFrame(16, 9, kRed);
  RenderLayer layer = layerOf("red");
  layer.opacity = 0.001f;
  EXPECT_TRUE(near(pixelAt(*compose({layer}), 160, 90), kBlack, 0));
  EXPECT_EQ(frameProviderCalls, 0);
  layer.opacity = 0.0011f;
  compose({layer});
  EXPECT_EQ(frameProviderCalls, 1);
}

TEST_F(CompositorDrawing, FullCanvasPinEqualsAFullLayer) {
  frames["quads"] = quadrantFrame(64, 36, kRed, kGreen, kBlue, kWhite);
  RenderLayer plain = layerOf("quads");
  plain.fill = true;
  RenderLayer pinned = layerOf("quads");
  pinned.cornerPin = CornerPin::unit();
  auto a = compose({plain});
  auto b = compose({pinned});
  int worst = 0;
  for (int y = 0; y < a->height(); ++y)
    for (int x = 0; x < a->width() * 4; ++x) worst = std::max(worst, std::abs(a->row(y)[x] - b->row(y)[x]));
  EXPECT_LE(worst, 1);
}

TEST_F(CompositorDrawing, MaskCacheEmptiesWhenFull) {
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

TEST_F(CompositorDrawing, PersonKeyWaitsForItsMaskAndBlursTheBackground) {
  frames["green"] = solidFrame(16, 9, kGreen);
  frames["cam"] = halvesFrame(160, 90, kRed, kBlue);
  RenderLayer background = layerOf("green");
  background.fill = true;
  RenderLayer person = layerOf("cam");
  person.fill = true;
  person.keyMode = KeyMode::personSegmentation;
  person.keySmoothness = 0;

  // No mask yet: the whole frame shows.
  EXPECT_TRUE(near(pixelAt(*compose({background, person}), 288, 90), kBlue));

  // A mask marking the left half keeps the person there and lets the background through elsewhere.
  std::vector<std::uint8_t> bits(160 * 90);
  for (int y = 0; y < 90; ++y)
    for (int x = 0; x < 80; ++x) bits[y * 160 + x] = 255;
  GLTexture mask = makeR8Texture(160, 90, bits.data());
  maskProvider = [&](const std::string& id) -> std::optional<LayerTexture> {
    if (id != "cam") return std::nullopt;
    return LayerTexture{mask.get(), 160, 90};
  };
  auto out = compose({background, person});
  EXPECT_TRUE(near(pixelAt(*out, 32, 90), kRed));
  EXPECT_TRUE(near(pixelAt(*out, 288, 90), kGreen));

  // With background blur the frame itself, blurred, stands behind the person.
  person.backgroundBlur = 0.2f;
  out = compose({background, person});
  EXPECT_TRUE(near(pixelAt(*out, 32, 90), kRed));
  EXPECT_TRUE(near(pixelAt(*out, 304, 90), kBlue, 6));
  const Rgba seam = pixelAt(*out, 166, 90);  // blurred across the red/blue edge
  EXPECT_GT(seam.r, 20);
  EXPECT_GT(seam.b, 20);
  EXPECT_EQ(compositor->blur().cachedCount(), 1u);
}

TEST_F(CompositorDrawing, MonitorLetterboxesTheFrameOverItsClearColour) {
  MonitorRenderer monitor(context);
  RenderTarget drawable(200, 200);
  FrameReadback readback(200, 200);
  PixelBufferPool pool(200, 200, 1);
  const Rgba clear{8, 8, 11, 255};  // (0.03, 0.03, 0.045) in bytes

  monitor.draw(drawable, std::nullopt);
  readback.begin(drawable);
  EXPECT_TRUE(near(pixelAt(*readback.collect(pool, true), 100, 100), clear, 1));

  auto frame = solidFrame(160, 90, kRed);
  monitor.draw(drawable, cache.textureFor("program", *frame));
  readback.begin(drawable);
  auto shown = readback.collect(pool, true);
  // A 16:9 frame in a square: full width, 112.5 pixels high, centred.
  EXPECT_TRUE(near(pixelAt(*shown, 100, 100), kRed));
  EXPECT_TRUE(near(pixelAt(*shown, 2, 50), kRed));
  EXPECT_TRUE(near(pixelAt(*shown, 100, 40), clear, 1));
  EXPECT_TRUE(near(pixelAt(*shown, 100, 160), clear, 1));
}

TEST(ProgramBuild, FailureNamesBothStagesAndTheCompilerLog) {
  GLContext& context = testContext();
  const char* vertex = "void main() { gl_Position = vec4(0.0); }\n";
  const char* broken = "out vec4 color;\nvoid main() { color = undefinedThing; }\n";
  try {
    buildProgram(context, "quad_vertex", vertex, "quad_fragment", broken);
    FAIL() << "a broken shader built";
  } catch (const GLFailure& failure) {
    const std::string text = failure.what();
    EXPECT_EQ(text.rfind("Failed to create pipeline quad_vertex/quad_fragment: ", 0), 0u) << text;
    EXPECT_NE(text.find("undefinedThing"), std::string::npos) << text;
  }
}

}  // namespace
}  // namespace tavorin::testing

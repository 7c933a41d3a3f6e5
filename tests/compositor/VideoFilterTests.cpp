#include "compositor/VideoFilterRenderer.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <vector>

#include "model/VideoFilterDefaults.h"
#include "platform/gpu/GLGpu.h"
#include "support/CompositorTestSupport.h"

namespace tavorin {
namespace {

// Straight colour, 0–1, as stored (sRGB-encoded).
struct Colour {
  double r, g, b, a;
  friend bool operator==(const Colour&, const Colour&) = default;
};

double toLinear(double c) { return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); }
double toEncoded(double c) {
  c = std::clamp(c, 0.0, 1.0);
  return c <= 0.0031308 ? c * 12.92 : 1.055 * std::pow(c, 1 / 2.4) - 0.055;
}

// The renderer remembers a frame's ids and stacks by reference until endFrame.
const std::string kSource = "source", kCamera = "camera", kOther = "other";

class VideoFilterTest : public ::testing::Test {
 protected:
  VideoFilterTest() : gpu(testing::testContext()), renderer(gpu) {}

  // A picture of `width` × `height` from straight colours, row by row from the top, premultiplied into BGRA bytes.
  std::unique_ptr<GpuTexture> picture(int width, int height, const std::vector<Colour>& colours) {
    std::vector<std::uint8_t> bytes;
    for (const Colour& c : colours) {
      auto byte = [&](double v) { return static_cast<std::uint8_t>(std::lround(v * c.a * 255)); };
      bytes.insert(bytes.end(), {byte(c.b), byte(c.g), byte(c.r), static_cast<std::uint8_t>(std::lround(c.a * 255))});
    }
    GpuTextureParams params;
    params.width = width;
    params.height = height;
    params.renderable = true;
    params.initialData = bytes.data();
    return gpu.createTexture(params);
  }
  // Straight colours back, row by row from the top.
  std::vector<Colour> read(const GpuTexture& texture) {
    const std::size_t row = static_cast<std::size_t>(texture.width()) * 4;
    auto download = gpu.createDownload(row * static_cast<std::size_t>(texture.height()));
    gpu.startDownload(texture, *download, row);
    gpu.downloaded(*download, true);
    std::vector<std::uint8_t> bytes(download->bytes());
    gpu.readDownload(*download, bytes);
    std::vector<Colour> colours;
    for (std::size_t i = 0; i < bytes.size(); i += 4) {
      const double a = bytes[i + 3] / 255.0;
      auto straight = [&](std::uint8_t v) { return a > 0 ? v / 255.0 / a : 0.0; };
      colours.push_back({straight(bytes[i + 2]), straight(bytes[i + 1]), straight(bytes[i]), a});
    }
    return colours;
  }
  std::vector<Colour> run(const std::vector<VideoFilterConfig>& stack, const GpuTexture& input, double time = 0) {
    const GpuTexture* out = renderer.filtered(kSource, input, stack, time);
    EXPECT_TRUE(out);
    renderer.endFrame();
    return out ? read(*out) : std::vector<Colour>{};
  }
  static VideoFilterConfig filter(VideoFilterKind kind, std::map<std::string, double> params = {}) {
    VideoFilterConfig config;
    config.kind = kind;
    config.params = std::move(params);
    return config;
  }

  GLGpu gpu;
  VideoFilterRenderer renderer;
};

// Colours whose maths is checked: saturated, dark, light, and half transparent.
const std::vector<Colour> kSwatches{{0.8, 0.3, 0.1, 1}, {0.1, 0.2, 0.6, 1}, {0.9, 0.9, 0.7, 1}, {0.6, 0.4, 0.2, 0.5}};

TEST_F(VideoFilterTest, EachColourFilterFollowsItsDocumentedMathsInLinearLight) {
  using Linear = std::array<double, 3>;
  auto luma = [](const Linear& c) { return 0.2126 * c[0] + 0.7152 * c[1] + 0.0722 * c[2]; };
  struct Case {
    VideoFilterConfig config;
    std::function<Linear(Linear)> maths;  // on straight linear colour
  };
  const std::vector<Case> cases{
      {filter(VideoFilterKind::colorControls, {{"brightness", 0.1}, {"contrast", 1.3}, {"saturation", 0.5}}),
       [&](Linear c) {
         const double y = luma(c);
         for (double& v : c) v = ((y + (v - y) * 0.5 + 0.1) - 0.5) * 1.3 + 0.5;
         return c;
       }},
      {filter(VideoFilterKind::exposure, {{"ev", -1}}), [](Linear c) { return Linear{c[0] / 2, c[1] / 2, c[2] / 2}; }},
      {filter(VideoFilterKind::gamma, {{"power", 2}}), [](Linear c) { return Linear{c[0] * c[0], c[1] * c[1], c[2] * c[2]}; }},
      {filter(VideoFilterKind::invert), [](Linear c) { return Linear{1 - c[0], 1 - c[1], 1 - c[2]}; }},
      {filter(VideoFilterKind::posterize, {{"levels", 4}}),
       [](Linear c) {
         for (double& v : c) v = std::floor(v * 4 + 0.5) / 4;
         return c;
       }},
      {filter(VideoFilterKind::sepia, {{"intensity", 1}}),
       [](Linear c) {
         return Linear{0.393 * c[0] + 0.769 * c[1] + 0.189 * c[2], 0.349 * c[0] + 0.686 * c[1] + 0.168 * c[2],
                       0.272 * c[0] + 0.534 * c[1] + 0.131 * c[2]};
       }},
      {filter(VideoFilterKind::vibrance, {{"amount", 0.5}}),
       [](Linear c) {
         const double mx = std::max({c[0], c[1], c[2]}), mean = (c[0] + c[1] + c[2]) / 3;
         const double t = (mx - mean) * -3 * 0.5;
         for (double& v : c) v = v + (mx - v) * t;
         return c;
       }},
      {filter(VideoFilterKind::hue, {{"angle", 120}}), [](Linear c) { return Linear{c[2], c[0], c[1]}; }},
  };
  auto input = picture(4, 1, kSwatches);
  for (const Case& c : cases) {
    const auto out = run({c.config}, *input);
    ASSERT_EQ(out.size(), kSwatches.size());
    for (std::size_t i = 0; i < kSwatches.size(); ++i) {
      const Colour& in = kSwatches[i];
      const Linear expected = c.maths({toLinear(in.r), toLinear(in.g), toLinear(in.b)});
      const double tolerance = in.a < 1 ? 5 / 255.0 : 2.5 / 255.0;  // half alpha halves the stored precision
      EXPECT_NEAR(out[i].r, toEncoded(expected[0]), tolerance) << enumName(c.config.kind) << " swatch " << i;
      EXPECT_NEAR(out[i].g, toEncoded(expected[1]), tolerance) << enumName(c.config.kind) << " swatch " << i;
      EXPECT_NEAR(out[i].b, toEncoded(expected[2]), tolerance) << enumName(c.config.kind) << " swatch " << i;
      EXPECT_NEAR(out[i].a, in.a, 1 / 255.0) << "alpha is kept";
    }
  }
  // Hue a half turn either way is one picture; white balance at its neutral changes nothing.
  const auto plus = run({filter(VideoFilterKind::hue, {{"angle", 180}})}, *input);
  const auto minus = run({filter(VideoFilterKind::hue, {{"angle", -180}})}, *input);
  const auto neutral = run({filter(VideoFilterKind::temperature)}, *input);
  for (std::size_t i = 0; i < kSwatches.size(); ++i) {
    EXPECT_NEAR(plus[i].r, minus[i].r, 1 / 255.0);
    EXPECT_NEAR(neutral[i].g, kSwatches[i].g, 3 / 255.0);
  }
  // A warmer target neutral warms the picture.
  const auto warm = run({filter(VideoFilterKind::temperature, {{"temp", 8200}})}, *input);
  EXPECT_GT(warm[2].r - warm[2].b, kSwatches[2].r - kSwatches[2].b + 0.05);
}

TEST_F(VideoFilterTest, BandsCountFromTheBottomBarsCoverTheirShareAndBlocksShowTheirCentre) {
  constexpr int kSize = 8;
  std::vector<Colour> grey(kSize * kSize, Colour{0.5, 0.5, 0.5, 1});
  auto input = picture(kSize, kSize, grey);
  auto rowOf = [&](const std::vector<Colour>& out, int row) { return out[static_cast<std::size_t>(row * kSize)]; };

  // Scanlines of two rows: the bottom two rows are dark, the two above them clear.
  const auto lines = run({filter(VideoFilterKind::scanlines, {{"intensity", 1}, {"lineSize", 2}})}, *input);
  EXPECT_EQ(rowOf(lines, 7).r, 0);
  EXPECT_EQ(rowOf(lines, 6).r, 0);
  EXPECT_NEAR(rowOf(lines, 5).r, 0.5, 0.01);
  EXPECT_EQ(rowOf(lines, 3).r, 0);
  // A line size under one acts as one.
  const auto half = run({filter(VideoFilterKind::scanlines, {{"intensity", 1}, {"lineSize", 0.5}})}, *input);
  const auto one = run({filter(VideoFilterKind::scanlines, {{"intensity", 1}, {"lineSize", 1}})}, *input);
  for (int row = 0; row < kSize; ++row) EXPECT_EQ(rowOf(half, row).r, rowOf(one, row).r) << row;

  // The VHS band starts at the bottom and climbs: at t = 0 the bottom row is brightest.
  const auto tape = run({filter(VideoFilterKind::vhs, {{"amount", 1}})}, *input, 0);
  EXPECT_GT(rowOf(tape, 7).g, rowOf(tape, 0).g + 0.05);
  const std::vector<VideoFilterConfig> tapeStack{filter(VideoFilterKind::vhs)}, sameTape = tapeStack;
  EXPECT_EQ(read(*renderer.filtered(kCamera, *input, tapeStack, 3.25)),
            read(*renderer.filtered(kOther, *input, sameTape, 3.25)))
      << "the same time gives the same picture";
  renderer.endFrame();

  // Letterbox bars of a quarter each at the top and the bottom; coverage 0 changes nothing.
  const auto bars = run({filter(VideoFilterKind::barnDoor, {{"coverage", 0.25}})}, *input);
  EXPECT_EQ(rowOf(bars, 0).r, 0);
  EXPECT_EQ(rowOf(bars, 1).r, 0);
  EXPECT_NEAR(rowOf(bars, 2).r, 0.5, 0.01);
  EXPECT_EQ(rowOf(bars, 7).r, 0);
  const auto none = run({filter(VideoFilterKind::barnDoor, {{"coverage", 0}})}, *input);
  for (const Colour& c : none) EXPECT_NEAR(c.r, 0.5, 0.01);
}

TEST_F(VideoFilterTest, EdgesKeepTheirShadeBlurKeepsLightAndAStackIsItsFiltersInTurn) {
  // Half-transparent white through a filter that changes nothing stays half-transparent white.
  auto edge = picture(2, 1, {{1, 1, 1, 0.5}, {1, 1, 1, 0.25}});
  for (const Colour& c : run({filter(VideoFilterKind::colorControls)}, *edge)) EXPECT_NEAR(c.r, 1, 0.02);

  // A blurred black and white stripe is lighter than the mean of the stored values (blurred in linear light).
  std::vector<Colour> stripes;
  for (int i = 0; i < 16; ++i) stripes.push_back(i % 2 ? Colour{1, 1, 1, 1} : Colour{0, 0, 0, 1});
  auto striped = picture(16, 1, stripes);
  const auto soft = run({filter(VideoFilterKind::gaussianBlur, {{"radius", 3}})}, *striped);
  EXPECT_NEAR(soft[8].r, toEncoded(0.5), 0.03);

  auto input = picture(4, 1, kSwatches);
  const std::vector<VideoFilterConfig> stack{filter(VideoFilterKind::sepia, {{"intensity", 0.7}}),
                                             filter(VideoFilterKind::vignette),
                                             filter(VideoFilterKind::posterize, {{"levels", 12}})};
  const auto together = run(stack, *input);
  const GpuTexture* step = input.get();
  std::vector<std::vector<VideoFilterConfig>> ones;
  for (const auto& one : stack) ones.push_back({one});
  for (const auto& one : ones) step = renderer.filtered(kSource, *step, one, 0);
  const auto inTurn = read(*step);
  renderer.endFrame();
  for (std::size_t i = 0; i < together.size(); ++i) {
    EXPECT_NEAR(together[i].r, inTurn[i].r, 1e-6);
    EXPECT_NEAR(together[i].b, inTurn[i].b, 1e-6);
  }
}

TEST_F(VideoFilterTest, AThumbnailIsTheStackAtItsSizeFromTheCPUsFrame) {
  // A left half red and right half blue 520 × 260 frame, inverted, at most 260 wide.
  auto frame = testing::halvesFrame(520, 260, testing::kRed, testing::kBlue);
  const auto small = renderer.thumbnail(*frame, {filter(VideoFilterKind::invert)}, 260);
  ASSERT_TRUE(small);
  EXPECT_EQ(small->width(), 260);
  EXPECT_EQ(small->height(), 130);
  EXPECT_TRUE(testing::near(testing::pixelAt(*small, 10, 60), {0, 255, 255, 255}));
  EXPECT_TRUE(testing::near(testing::pixelAt(*small, 250, 60), {255, 255, 0, 255}));
  const auto plain = renderer.thumbnail(*frame, {}, 1000);
  ASSERT_TRUE(plain);
  EXPECT_EQ(plain->width(), 520) << "never enlarged";
  EXPECT_TRUE(testing::near(testing::pixelAt(*plain, 10, 60), testing::kRed));
}

TEST_F(VideoFilterTest, ASourceShownTwiceIsFilteredOnceAFrameAndADisabledStackIsNothing) {
  auto input = picture(4, 1, kSwatches);
  const std::vector<VideoFilterConfig> stack{filter(VideoFilterKind::bw)};
  const auto before = renderer.runCount();
  const GpuTexture* first = renderer.filtered(kCamera, *input, stack, 0);
  const auto sameStack = stack;
  EXPECT_EQ(renderer.filtered(kCamera, *input, sameStack, 0), first) << "an equal stack of another layer";
  EXPECT_EQ(renderer.runCount(), before + 1);
  renderer.endFrame();
  renderer.filtered(kCamera, *input, stack, 0);
  EXPECT_EQ(renderer.runCount(), before + 2) << "the next frame runs it again";
  auto disabled = stack;
  disabled[0].enabled = false;
  const std::vector<VideoFilterConfig> empty;
  EXPECT_EQ(renderer.filtered(kCamera, *input, disabled, 0), nullptr);
  EXPECT_EQ(renderer.filtered(kCamera, *input, empty, 0), nullptr);
  renderer.endFrame();
}

}  // namespace
}  // namespace tavorin

namespace tavorin {
namespace {

class FilteredLayers : public testing::CompositorTest {};

TEST_F(FilteredLayers, AFilteredSourceDrawsFilteredAndRunsOnceForTheLayersThatShowIt) {
  frames["cam"] = testing::solidFrame(64, 36, testing::kRed);
  VideoFilterConfig invert;
  invert.kind = VideoFilterKind::invert;
  RenderLayer left = testing::layerOf("cam", {0.25, 0.5}, {0.5, 1});
  RenderLayer right = testing::layerOf("cam", {0.75, 0.5}, {0.5, 1});
  left.videoFilters = std::vector<VideoFilterConfig>{invert};
  right.videoFilters = std::vector<VideoFilterConfig>{invert};
  const auto before = compositor->filters().runCount();
  auto frame = compose({left, right});
  ASSERT_TRUE(frame);
  EXPECT_TRUE(testing::near(testing::pixelAt(*frame, 80, 90), {0, 255, 255, 255}));
  EXPECT_TRUE(testing::near(testing::pixelAt(*frame, 240, 90), {0, 255, 255, 255}));
  EXPECT_EQ(compositor->filters().runCount(), before + 1) << "one run for both layers";

  // Switched off, the source's own picture is drawn.
  invert.enabled = false;
  left.videoFilters = std::vector<VideoFilterConfig>{invert};
  frame = compose({left});
  EXPECT_TRUE(testing::near(testing::pixelAt(*frame, 80, 90), testing::kRed));
}

}  // namespace
}  // namespace tavorin

#pragma once

#include <map>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "base/PixelBuffer.h"
#include "compositor/GLCompositor.h"
#include "compositor/PlanSnapshot.h"
#include "compositor/SourceTextureCache.h"
#include "platform/gl/GLContext.h"

namespace tavorin::testing {

// One context for the whole test binary, current on the test thread.
GLContext& testContext();

struct Rgba {
  int r = 0, g = 0, b = 0, a = 0;
};

Rgba pixelAt(const PixelBuffer& buffer, int x, int y);
// Each channel within `tolerance` of the expected value.
::testing::AssertionResult near(Rgba actual, Rgba expected, int tolerance = 3);

PixelBufferRef solidFrame(int width, int height, Rgba color);
// Left half `left`, right half `right`.
PixelBufferRef halvesFrame(int width, int height, Rgba left, Rgba right);
// Quadrants top left, top right, bottom right, bottom left.
PixelBufferRef quadrantFrame(int width, int height, Rgba tl, Rgba tr, Rgba br, Rgba bl);

RenderLayer layerOf(const std::string& sourceID, Point center = {0.5, 0.5}, Size size = {1, 1});

inline constexpr Rgba kBlack{0, 0, 0, 255};
inline constexpr Rgba kRed{255, 0, 0, 255};
inline constexpr Rgba kGreen{0, 255, 0, 255};
inline constexpr Rgba kBlue{0, 0, 255, 255};
inline constexpr Rgba kWhite{255, 255, 255, 255};

// A 320 x 180 canvas with named source frames.
class CompositorTest : public ::testing::Test {
 protected:
  CompositorTest();
  PixelBufferRef compose(const RenderPlan& plan);
  PixelBufferRef compose(std::vector<RenderLayer> layers) { return compose(RenderPlan{std::move(layers)}); }

  GLContext& context;
  std::unique_ptr<GLCompositor> compositor;
  SourceTextureCache cache;
  std::map<std::string, FrameRef> frames;
  int frameProviderCalls = 0;
  MaskProvider maskProvider = [](const std::string&) { return std::optional<LayerTexture>(); };
};

}  // namespace tavorin::testing

#include "compositor/CompositorTestSupport.h"
#include "compositor/FrameReadback.h"
#include "compositor/MonitorRenderer.h"
#include "compositor/RenderTarget.h"

namespace tavorin::testing {
namespace {

using Monitor = CompositorTest;

TEST_F(Monitor, LetterboxesTheFrameOverItsClearColour) {
  MonitorRenderer monitor(context);
  RenderTarget drawable(200, 200);
  FrameReadback readback(200, 200);
  PixelBufferPool pool(200, 200, 1);
  const Rgba clear{8, 8, 11, 255};  // (0.03, 0.03, 0.045) in bytes

  monitor.draw(drawable, std::nullopt);
  readback.begin(drawable);
  auto empty = readback.collect(pool, true);
  EXPECT_TRUE(near(pixelAt(*empty, 100, 100), clear, 1));

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

}  // namespace
}  // namespace tavorin::testing

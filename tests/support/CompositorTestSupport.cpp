#include "support/CompositorTestSupport.h"

#include <cstdlib>

#include "compositor/FrameReadback.h"
#include "compositor/RenderTarget.h"

namespace tavorin::testing {

GLContext& testContext() {
  // Never torn down: unloading the driver at exit is not ours to test.
  static GLContext* context = new GLContext;
  // The tests read each tick's picture at once; on a GPU its copy may still be on the way.
  FrameReadback::setCollectWaits(true);
  context->makeCurrent();
  return *context;
}

Rgba pixelAt(const PixelBuffer& buffer, int x, int y) {
  const std::uint8_t* p = buffer.row(y) + 4 * x;
  return {p[2], p[1], p[0], p[3]};
}

::testing::AssertionResult near(Rgba actual, Rgba expected, int tolerance) {
  if (std::abs(actual.r - expected.r) <= tolerance && std::abs(actual.g - expected.g) <= tolerance &&
      std::abs(actual.b - expected.b) <= tolerance && std::abs(actual.a - expected.a) <= tolerance) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure() << "got (" << actual.r << ", " << actual.g << ", " << actual.b << ", "
                                       << actual.a << "), expected (" << expected.r << ", " << expected.g << ", "
                                       << expected.b << ", " << expected.a << ")";
}

namespace {

void put(PixelBuffer& buffer, int x, int y, Rgba c) {
  std::uint8_t* p = buffer.row(y) + 4 * x;
  p[0] = static_cast<std::uint8_t>(c.b);
  p[1] = static_cast<std::uint8_t>(c.g);
  p[2] = static_cast<std::uint8_t>(c.r);
  p[3] = static_cast<std::uint8_t>(c.a);
}

template <typename Pick>
PixelBufferRef paint(int width, int height, Pick pick) {
  auto buffer = PixelBuffer::make(width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) put(*buffer, x, y, pick(x, y));
  return buffer;
}

}  // namespace

PixelBufferRef solidFrame(int width, int height, Rgba color) {
  return paint(width, height, [&](int, int) { return color; });
}

PixelBufferRef halvesFrame(int width, int height, Rgba left, Rgba right) {
  return paint(width, height, [&](int x, int) { return x < width / 2 ? left : right; });
}

PixelBufferRef quadrantFrame(int width, int height, Rgba tl, Rgba tr, Rgba br, Rgba bl) {
  return paint(width, height, [&](int x, int y) {
    const bool left = x < width / 2, top = y < height / 2;
    return top ? (left ? tl : tr) : (left ? bl : br);
  });
}

RenderLayer layerOf(const std::string& sourceID, Point center, Size size) {
  RenderLayer layer;
  layer.sourceID = sourceID;
  layer.center = center;
  layer.size = size;
  return layer;
}

CompositorTest::CompositorTest()
    : context(testContext()), compositor(std::make_unique<GLCompositor>(context, 320, 180)) {}

PixelBufferRef CompositorTest::compose(const RenderPlan& plan) {
  const int width = compositor->canvasWidth(), height = compositor->canvasHeight();
  RenderTarget target(width, height);
  FrameReadback readback(width, height);
  PixelBufferPool pool(width, height, 1);
  auto provider = makeFrameProvider(cache, [this](const std::string& id) -> FrameRef {
    ++frameProviderCalls;
    auto it = frames.find(id);
    return it == frames.end() ? nullptr : it->second;
  });
  compositor->render(plan, target, provider, maskProvider);
  readback.begin(target);
  return readback.collect(pool, true);
}

}  // namespace tavorin::testing

#include <epoxy/gl.h>

#include "support/CompositorTestSupport.h"
#include "compositor/FrameReadback.h"
#include "compositor/RenderTarget.h"
#include "platform/media/ImageDecoder.h"
#include "support/TempDir.h"

namespace tavorin::testing {
namespace {

using FrameTransfer = CompositorTest;

TEST_F(FrameTransfer, UploadsOnlyPicturesNotSeenBefore) {
  auto frame = solidFrame(32, 18, kRed);
  const LayerTexture first = cache.textureFor("cam", *frame);
  EXPECT_EQ(cache.textureFor("cam", *frame).texture, first.texture);
  EXPECT_EQ(cache.uploadCount(), 1u);
  frame->markRewritten();  // the same memory with a new picture
  EXPECT_NE(cache.textureFor("cam", *frame).texture, first.texture);
  EXPECT_EQ(cache.uploadCount(), 2u);
}

TEST_F(FrameTransfer, ReadbackCompletesWithoutWaitingAndReusesPoolBuffers) {
  frames["red"] = solidFrame(16, 9, kRed);
  RenderTarget target(320, 180);
  FrameReadback readback(320, 180);
  PixelBufferPool pool(320, 180, 2, 2);
  auto provider = makeFrameProvider(cache, [&](const std::string& id) { return frames[id]; });
  auto noMask = [](const std::string&) { return std::optional<LayerTexture>(); };

  EXPECT_EQ(readback.collect(pool), nullptr);  // nothing queued
  compositor->render(RenderPlan{{layerOf("red")}}, target, provider, noMask);
  readback.begin(target);
  glFinish();
  PixelBufferRef frame = readback.collect(pool);  // done on the GPU: no wait needed
  ASSERT_TRUE(frame);
  EXPECT_TRUE(near(pixelAt(*frame, 160, 90), kRed));
  EXPECT_EQ(readback.pendingCount(), 0u);

  // More frames in flight than slots: the oldest is given up, never waited for.
  for (int i = 0; i < 5; ++i) readback.begin(target);
  EXPECT_EQ(readback.pendingCount(), FrameReadback::kDepth);
  const std::uint64_t held = frame->generation();
  frame.reset();
  PixelBufferRef again = readback.collect(pool, true);
  ASSERT_TRUE(again);
  EXPECT_NE(again->generation(), held);
  EXPECT_EQ(pool.bufferCount(), 2u);
}

TEST_F(FrameTransfer, PlanWrittenAsPngReadsBackAsDrawn) {
  TempDir dir;
  frames["quads"] = quadrantFrame(64, 36, kRed, kGreen, kBlue, kWhite);
  RenderLayer layer = layerOf("quads");
  layer.fill = true;
  const auto path = dir.path() / "plan.png";
  std::string error;
  ASSERT_TRUE(writePlanPNG(*compositor, cache, RenderPlan{{layer}},
                           [&](const std::string& id) { return frames[id]; }, path, &error))
      << error;
  DecodedImage image = decodeImageFile(path);
  ASSERT_TRUE(image.buffer) << image.error;
  EXPECT_EQ(image.buffer->width(), 320);
  EXPECT_TRUE(near(pixelAt(*image.buffer, 10, 10), kRed));
  EXPECT_TRUE(near(pixelAt(*image.buffer, 310, 170), kBlue));
}

}  // namespace
}  // namespace tavorin::testing

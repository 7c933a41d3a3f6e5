#include <set>
#include <thread>

#include "compositor/CompositorEngine.h"
#include "platform/gl/GLObjects.h"
#include "support/CompositorTestSupport.h"

namespace tavorin::testing {
namespace {

FrameRef frameOf(Rgba colour) { return solidFrame(64, 36, colour); }

// The centre pixel of a shared texture as another context of the group sees
// it, after waiting on the compositor's fence as a window does.
Rgba sampledCentre(const MonitorTexture& picture) {
  glWaitSync(picture.drawn, 0, GL_TIMEOUT_IGNORED);
  GLFramebuffer framebuffer = makeFramebuffer();
  glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer.get());
  glFramebufferTexture2D(GL_READ_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, picture.texture, 0);
  std::uint8_t bgra[4] = {};
  glReadPixels(picture.width / 2, picture.height / 2, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, bgra);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
  return {bgra[2], bgra[1], bgra[0], bgra[3]};
}

class Monitors : public ::testing::Test {
 protected:
  void show(CompositorEngine& engine, Rgba colour) {
    slot->publish(frameOf(colour));
    sources.set("image:a", slot);
    engine.setPlanProvider(Canvas::program, [](double) { return RenderPlan{{layerOf("image:a")}}; });
  }

  FrameSlotMap sources;
  std::shared_ptr<FrameSlot> slot = std::make_shared<FrameSlot>();
};

TEST_F(Monitors, EachGetsItsCanvasAtItsOwnSizeAndTheCanvasIsReadBackOnlyForPictureTakers) {
  GLContext& context = testContext();
  context.makeCurrent();
  CompositorEngine engine(context, sources);
  context.makeCurrent();
  show(engine, kRed);
  ASSERT_FALSE(engine.sharesTextures());
  const auto small = engine.addMonitor(Canvas::program, 320, 180);
  const auto large = engine.addMonitor(Canvas::program, 640, 360);
  engine.onRefresh(1.0);
  for (const auto& [monitor, width] : {std::pair{small, 320}, std::pair{large, 640}}) {
    const MonitorPicture picture = engine.monitorPicture(monitor);
    ASSERT_TRUE(picture.image);
    EXPECT_EQ(picture.image->width(), width);
    EXPECT_TRUE(near(pixelAt(*picture.image, width / 2, width * 9 / 32), kRed));
    EXPECT_EQ(picture.hostTime(), 1.0);
  }
  EXPECT_EQ(engine.newestFrame(Canvas::program), nullptr) << "monitors alone take no pixels of the canvas";

  engine.resizeMonitor(small, 160, 90);
  show(engine, kBlue);
  engine.onRefresh(1.1);
  ASSERT_TRUE(engine.monitorPicture(small).image);
  EXPECT_EQ(engine.monitorPicture(small).image->width(), 160);
  EXPECT_TRUE(near(pixelAt(*engine.monitorPicture(small).image, 80, 45), kBlue));

  // A screenshot from another thread still gets the full canvas, read back over a tick or two.
  context.releaseCurrent();
  std::atomic<bool> ticking = true;
  std::thread clock([&] {
    context.makeCurrent();
    for (double now = 2.0; ticking; now += 0.02) {
      engine.onRefresh(now);
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    context.releaseCurrent();
  });
  const FrameRef shot = engine.drawnFrame(Canvas::program);
  ticking = false;
  clock.join();
  context.makeCurrent();
  ASSERT_TRUE(shot);
  EXPECT_EQ(shot->width(), engine.canvasWidth());
  EXPECT_TRUE(near(pixelAt(*shot, shot->width() / 2, shot->height() / 2), kBlue));

  engine.removeConsumer(large);
  engine.setPlanProvider(Canvas::program, [](double) { return RenderPlan{}; });
  engine.onRefresh(3.0);
  EXPECT_TRUE(engine.monitorPicture(large).empty());
  EXPECT_TRUE(engine.monitorPicture(small).empty()) << "a canvas showing nothing clears its monitors";
}

TEST_F(Monitors, SharedTexturesAreNeverDrawnIntoWhileTheWindowHoldsThem) {
  // The test's context stands for the window's; the compositor's joins it.
  GLContext& window = testContext();
  GLContext joined(window.shareGroup());
  ASSERT_TRUE(joined.sharesTextures());
  joined.makeCurrent();
  {
    CompositorEngine engine(joined, sources);
    joined.makeCurrent();
    show(engine, kRed);
    const auto monitor = engine.addMonitor(Canvas::program, 320, 180);
    engine.onRefresh(1.0);
    const MonitorPicture held = engine.monitorPicture(monitor);
    ASSERT_TRUE(held.texture);
    EXPECT_FALSE(held.image);

    // New pictures while the window holds the first: each lands in another texture, or is missed.
    std::set<GLuint> textures;
    const Rgba colours[] = {kBlue, kGreen, kWhite, kBlue, kGreen, kWhite};
    for (std::size_t i = 0; i < std::size(colours); ++i) {
      show(engine, colours[i]);
      engine.onRefresh(1.1 + i * 0.1);
      const MonitorPicture now = engine.monitorPicture(monitor);
      ASSERT_TRUE(now.texture);
      EXPECT_NE(now.texture->texture, held.texture->texture);
      textures.insert(now.texture->texture);
    }
    EXPECT_LE(textures.size(), MonitorOutput::kRing - 1);
    const MonitorPicture last = engine.monitorPicture(monitor);

    window.makeCurrent();
    EXPECT_TRUE(near(sampledCentre(*held.texture), kRed)) << "the held picture is untouched";
    EXPECT_TRUE(near(sampledCentre(*last.texture), kWhite));
    // The window lets the first go after its last sampling, as a monitor does.
    held.texture->released.store(glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0));
    glFlush();
    joined.makeCurrent();
  }
  window.makeCurrent();
}

}  // namespace
}  // namespace tavorin::testing

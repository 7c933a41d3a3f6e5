#include <chrono>
#include <thread>

#include "compositor/CompositorEngine.h"
#include "support/CompositorTestSupport.h"

namespace tavorin::testing {
namespace {

class EngineTest : public ::testing::Test {
 protected:
  EngineTest() : context(testContext()), engine(context, sources) {
    context.makeCurrent();
    red->publish(solidFrame(64, 36, kRed));
    sources.set("image:red", red);
    engine.setFrameSink(Canvas::program, [this](const FrameRef& frame) {
      programFrames.push_back(frame);
      programTimes.push_back(frame->hostTime());
    });
    engine.vcamSink = [this](const FrameRef& frame) { cameraFrames.push_back(frame); };
  }

  void showRed() {
    engine.setPlanProvider(Canvas::program, [](double) { return RenderPlan{{layerOf("image:red")}}; });
  }

  GLContext& context;
  FrameSlotMap sources;
  std::shared_ptr<FrameSlot> red = std::make_shared<FrameSlot>();
  CompositorEngine engine;
  std::vector<FrameRef> programFrames;
  std::vector<double> programTimes;
  std::vector<FrameRef> cameraFrames;
};

TEST_F(EngineTest, GateDropsCallbacksCloserThanOneSixtyFirst) {
  engine.onRefresh(10.0);
  engine.onRefresh(10.0 + 0.01640);
  EXPECT_EQ(engine.tickCount(), 2u);
  engine.onRefresh(10.0 + 0.01640 + 0.01639);
  EXPECT_EQ(engine.tickCount(), 2u);
  EXPECT_EQ(engine.measuredFPS(), 0.0) << "no whole second since the first tick";
  // A 120 Hz display ticks on every second callback.
  for (int i = 1; i <= 10; ++i) engine.onRefresh(20.0 + i / 120.0);
  EXPECT_EQ(engine.tickCount(), 7u);
}

TEST_F(EngineTest, EmptyProgramFeedsNoSinks) {
  engine.onRefresh(1.0);
  EXPECT_TRUE(programFrames.empty());
  EXPECT_TRUE(cameraFrames.empty());
  EXPECT_EQ(engine.newestFrame(Canvas::program), nullptr);
}

TEST_F(EngineTest, UnchangedPictureIsHandedOnWithoutDrawing) {
  showRed();
  engine.onRefresh(1.0);
  engine.onRefresh(1.1);
  ASSERT_EQ(programFrames.size(), 2u);
  ASSERT_TRUE(programFrames[0]);
  EXPECT_TRUE(near(pixelAt(*programFrames[0], 960, 540), kRed));
  // Same plan, same frame: the very same buffer again, and the camera gets it as is at 1920 x 1080.
  EXPECT_EQ(programFrames[1], programFrames[0]);
  EXPECT_EQ(programFrames[1]->generation(), programFrames[0]->generation());
  EXPECT_EQ(cameraFrames.back(), programFrames.back());
  EXPECT_EQ(programTimes, (std::vector<double>{1.0, 1.1})) << "each hand-on carries its own tick's time";

  // A new frame from the source is drawn.
  red->publish(solidFrame(64, 36, kBlue));
  engine.onRefresh(1.2);
  ASSERT_EQ(programFrames.size(), 3u);
  EXPECT_NE(programFrames[2]->generation(), programFrames[1]->generation());
  EXPECT_TRUE(near(pixelAt(*programFrames[2], 960, 540), kBlue));
}

TEST_F(EngineTest, LargerCanvasReachesTheCameraAt1080p) {
  engine.setCanvas(2560, 1440);
  showRed();
  engine.onRefresh(1.0);
  ASSERT_FALSE(programFrames.empty());
  EXPECT_EQ(programFrames.back()->width(), 2560);
  ASSERT_FALSE(cameraFrames.empty());
  EXPECT_EQ(cameraFrames.back()->width(), 1920);
  EXPECT_EQ(cameraFrames.back()->height(), 1080);
  EXPECT_TRUE(near(pixelAt(*cameraFrames.back(), 960, 540), kRed));
}

// The presenter's pass here turns the picture blue, so each canvas's colour
// tells whether it applied: always on Program canvases, on Preview canvases
// while their switcher is live, never on the studio canvas.
TEST_F(EngineTest, EachCanvasDrawsAtItsSizeWithThePresenterPassWhereItApplies) {
  auto blue = std::make_shared<FrameSlot>();
  blue->publish(solidFrame(64, 36, kBlue));
  sources.set("image:blue", blue);
  engine.presenterApply = [](RenderPlan) { return RenderPlan{{layerOf("image:blue")}}; };
  bool live = false;
  FrameRef verticalSent;
  engine.setFrameSink(Canvas::vertical, [&](const FrameRef& frame) { verticalSent = frame; });
  engine.setCanvas(2560, 1440);
  const struct {
    Canvas canvas;
    int width, height;
    Rgba direct, live;
  } table[] = {{Canvas::program, 2560, 1440, kBlue, kBlue},       {Canvas::preview, 2560, 1440, kRed, kBlue},
               {Canvas::vertical, 1080, 1920, kBlue, kBlue},      {Canvas::verticalPreview, 1080, 1920, kRed, kBlue},
               {Canvas::studio, 1920, 1080, kRed, kRed}};
  for (const auto& row : table) {
    engine.setPlanProvider(row.canvas, [](double) { return RenderPlan{{layerOf("image:red")}}; }, [&] { return live; });
  }
  for (double now : {1.0, 2.0}) {
    live = now > 1;
    engine.onRefresh(now);
    for (const auto& row : table) {
      FrameRef frame = engine.newestFrame(row.canvas);
      ASSERT_TRUE(frame) << "canvas " << static_cast<int>(row.canvas);
      EXPECT_EQ(std::pair(frame->width(), frame->height()), std::pair(row.width, row.height));
      EXPECT_TRUE(near(pixelAt(*frame, row.width / 2, row.height / 2), live ? row.live : row.direct))
          << "canvas " << static_cast<int>(row.canvas) << (live ? ", live" : "");
    }
  }
  EXPECT_EQ(verticalSent, engine.newestFrame(Canvas::vertical));
}

TEST_F(EngineTest, ThumbnailsOnEverySixthTick) {
  MixerScene scene;
  scene.layers.push_back(LayerState::make("image:red"));
  const Uuid id = Uuid::make();
  engine.setAuxScenes({{id, scene}}, {});
  for (int i = 0; i < 5; ++i) engine.onRefresh(1.0 + i * 0.02);
  EXPECT_EQ(engine.auxBuffer(id), nullptr);
  engine.onRefresh(1.2);
  ASSERT_TRUE(engine.auxBuffer(id));
  EXPECT_EQ(engine.auxBuffer(id)->width(), 480);
  engine.setAuxScenes({}, {});
  EXPECT_EQ(engine.auxBuffer(id), nullptr);
}

TEST_F(EngineTest, ClockKeepsItsRateWithASinkThatTakesTime) {
  showRed();
  int calls = 0;
  engine.setFrameSink(Canvas::program, [&](const FrameRef&) {
    ++calls;
    std::this_thread::sleep_for(std::chrono::milliseconds(4));
  });
  engine.onRefresh(0.5);  // the first drawing, here, so the clock only hands the picture on
  context.releaseCurrent();
  engine.start(60);
  std::this_thread::sleep_for(std::chrono::milliseconds(1000));
  engine.stop();
  context.makeCurrent();
  const auto ticks = engine.tickCount() - 1;
  EXPECT_GE(ticks, 45u);
  EXPECT_LE(ticks, 62u);
  EXPECT_EQ(calls, static_cast<int>(engine.tickCount())) << "the sink gets a frame on every tick";
}

}  // namespace
}  // namespace tavorin::testing

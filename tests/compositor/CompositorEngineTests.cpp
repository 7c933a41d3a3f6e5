#include <algorithm>
#include <atomic>
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
    programConsumer = engine.addConsumer(Canvas::program, CompositorEngine::kEveryRefresh);
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
  CompositorEngine::ConsumerID programConsumer = 0;
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
    engine.addConsumer(row.canvas, 30);
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

// Rows run in turn on one engine, each after the last row's consumers are
// gone: a canvas is drawn only while someone consumes it, and lets its
// picture go when no one does.
TEST_F(EngineTest, OnlyConsumedCanvasesAreDrawnAndTheClockTicksForTheFastest) {
  constexpr double kMonitor = CompositorEngine::kEveryRefresh;
  struct Need {
    Canvas canvas;
    double rate;
    bool removed = false;
  };
  const struct {
    const char* what;
    std::vector<Need> needs;
    std::vector<Canvas> drawn;
    double rate;
    double refresh = 60;
  } table[] = {
      {"nothing consumed: the clock rests", {}, {}, 0},
      {"a 30 fps recording", {{Canvas::program, 30}}, {Canvas::program}, 30},
      {"a 30 fps recording and a 60 fps vertical stream",
       {{Canvas::program, 30}, {Canvas::vertical, 60}},
       {Canvas::program, Canvas::vertical},
       60},
      {"a Preview monitor beside a 30 fps stream: the display's refresh",
       {{Canvas::preview, kMonitor}, {Canvas::program, 30}},
       {Canvas::program, Canvas::preview},
       60},
      {"no faster than the display", {{Canvas::studio, 120}}, {Canvas::studio}, 60},
      {"a show at 25 fps: its monitors and streams no faster",
       {{Canvas::preview, kMonitor}, {Canvas::program, 30}},
       {Canvas::program, Canvas::preview},
       25,
       25},
      {"a rate below one counts as one", {{Canvas::verticalPreview, 0}}, {Canvas::verticalPreview}, 1},
      {"a removed consumer no longer counts",
       {{Canvas::program, 60, true}, {Canvas::program, 30}, {Canvas::preview, 60, true}},
       {Canvas::program},
       30},
  };
  for (std::size_t i = 0; i < kCanvasCount; ++i) {
    engine.setPlanProvider(static_cast<Canvas>(i), [](double) { return RenderPlan{{layerOf("image:red")}}; });
  }
  engine.removeConsumer(programConsumer);
  std::vector<CompositorEngine::ConsumerID> previous;
  double now = 1.0;
  for (const auto& row : table) {
    SCOPED_TRACE(row.what);
    engine.setRefreshRate(row.refresh);
    for (auto id : previous) engine.removeConsumer(id);
    previous.clear();
    for (const Need& need : row.needs) {
      const auto id = engine.addConsumer(need.canvas, need.rate);
      if (need.removed) {
        engine.removeConsumer(id);
      } else {
        previous.push_back(id);
      }
    }
    engine.onRefresh(now += 0.1);
    EXPECT_EQ(engine.clockRate(), row.rate);
    for (std::size_t i = 0; i < kCanvasCount; ++i) {
      const Canvas canvas = static_cast<Canvas>(i);
      const bool drawn = std::find(row.drawn.begin(), row.drawn.end(), canvas) != row.drawn.end();
      EXPECT_EQ(engine.newestFrame(canvas) != nullptr, drawn) << "canvas " << i;
    }
  }
  EXPECT_EQ(programFrames.size(), 5u) << "Program's sink hears only the ticks that drew it";
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

// On the real clock: the display's rate for a monitor, an output's own rate,
// a rest while nothing is consumed, and a snapshot that wakes it for one picture.
TEST_F(EngineTest, ClockTicksAtTheRateItsConsumersNeedAndRestsWithoutThem) {
  showRed();
  std::atomic<int> calls = 0;
  engine.setFrameSink(Canvas::program, [&](const FrameRef&) {
    ++calls;
    std::this_thread::sleep_for(std::chrono::milliseconds(4));
  });
  engine.onRefresh(0.5);  // the first drawing, here, so the clock only hands the picture on
  context.releaseCurrent();
  auto ticksOver = [&](int milliseconds) {
    const std::uint64_t before = engine.tickCount();
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    return engine.tickCount() - before;
  };
  engine.start(60);
  const int callsBefore = calls;
  const auto monitorTicks = ticksOver(1000);
  const int monitorCalls = calls - callsBefore;
  const auto recording = engine.addConsumer(Canvas::program, 30);
  engine.removeConsumer(programConsumer);
  ticksOver(100);  // the rate changes from the next refresh on
  const auto recordingTicks = ticksOver(1000);
  engine.removeConsumer(recording);
  ticksOver(100);
  const auto restingTicks = ticksOver(300);
  const FrameRef shot = engine.drawnFrame(Canvas::program);
  ticksOver(50);
  const auto ticksAfterShot = ticksOver(300);
  engine.stop();
  context.makeCurrent();

  EXPECT_GE(monitorTicks, 45u);
  EXPECT_LE(monitorTicks, 62u);
  EXPECT_NEAR(monitorCalls, static_cast<int>(monitorTicks), 1) << "the sink gets a frame on every tick";
  EXPECT_GE(recordingTicks, 22u);
  EXPECT_LE(recordingTicks, 31u);
  EXPECT_EQ(restingTicks, 0u);
  ASSERT_TRUE(shot);
  EXPECT_TRUE(near(pixelAt(*shot, 960, 540), kRed));
  EXPECT_EQ(ticksAfterShot, 0u) << "the clock rests again after the snapshot";
  EXPECT_EQ(engine.drawnFrame(Canvas::program, 0.05), nullptr) << "a stopped clock gives no picture";
}

}  // namespace
}  // namespace tavorin::testing

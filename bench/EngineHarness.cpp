// The frame clock under a real show, on this machine: the demo show (three
// layouts with moving layers, a take every two seconds through the built-in
// transitions) on a 1920 x 1080 canvas with the layout thumbnails, first with
// every canvas drawn on every refresh (as before canvases were drawn only for
// their consumers), then with only Program consumed: by a monitor at the
// display's refresh, by a 30 fps output, and by nobody. Then a static scene
// where nothing moves, Program on a monitor. For each: sustained ticks per
// second, process CPU per tick (the GL driver's threads included), the spread
// of the intervals between tick starts, and the ticks' own length. The
// baseline, measured in the same process afterwards, is one synchronous
// compose of the demo's Program plan on a single canvas.
//
//   EngineHarness [seconds per phase, default 10]
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "ProcessCPU.h"
#include "app/AppModel.h"
#include "app/DemoShow.h"
#include "base/HostTime.h"
#include "compositor/CompositorEngine.h"
#include "compositor/GLCompositor.h"
#include "compositor/PlanSnapshot.h"
#include "compositor/SourceTextureCache.h"
#include "platform/gl/GLContext.h"
#include "platform/loop/GLibMainQueue.h"

using namespace tavorin;

namespace {

double percentile(std::vector<double> values, double p) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  const auto index = static_cast<std::size_t>(p * static_cast<double>(values.size() - 1) + 0.5);
  return values[std::min(index, values.size() - 1)];
}

struct Figures {
  double ticksPerSecond = 0;
  double cpuMsPerTick = 0;
};

// What a phase consumes, as monitors and outputs would; gone with the phase.
class Consumers {
 public:
  Consumers(CompositorEngine& engine, std::initializer_list<std::pair<Canvas, double>> needs) : engine_(engine) {
    for (const auto& [canvas, rate] : needs) ids_.push_back(engine.addConsumer(canvas, rate));
  }
  ~Consumers() {
    for (auto id : ids_) engine_.removeConsumer(id);
  }
  Consumers(const Consumers&) = delete;
  Consumers& operator=(const Consumers&) = delete;

 private:
  CompositorEngine& engine_;
  std::vector<CompositorEngine::ConsumerID> ids_;
};

constexpr double kMonitor = CompositorEngine::kEveryRefresh;

void runFor(GLibMainQueue& queue, double seconds) {
  TimerHandle stop = queue.after(seconds, [&queue] { queue.quit(); });
  queue.run();
}

Figures measure(const char* name, GLibMainQueue& queue, AppModel& model, double seconds) {
  const TickTimings& timings = model.engine->tickTimings();
  const double rate = model.engine->clockRate();
  const double refreshMs = rate > 0 ? 1e3 / rate : 0;
  const std::uint64_t firstTick = timings.count();
  const double cpu0 = processCPUSeconds(), wall0 = hostTimeNow();
  runFor(queue, seconds);
  const double cpu = processCPUSeconds() - cpu0, wall = hostTimeNow() - wall0;
  const auto ticks = timings.since(firstTick);

  std::vector<double> intervals, lengths;
  int missed = 0;
  for (std::size_t i = 0; i < ticks.size(); ++i) {
    lengths.push_back(ticks[i].length * 1e3);
    if (i == 0) continue;
    const double interval = (ticks[i].start - ticks[i - 1].start) * 1e3;
    intervals.push_back(interval);
    if (interval > 1.5 * refreshMs) ++missed;
  }
  Figures figures;
  figures.ticksPerSecond = static_cast<double>(ticks.size()) / wall;
  figures.cpuMsPerTick = ticks.empty() ? 0 : cpu * 1e3 / static_cast<double>(ticks.size());
  std::printf("%s (clock asked for %.0f/s): %.1f ticks/s over %.1f s, CPU %.2f ms per tick (%.0f%% of one core)\n",
              name, rate, figures.ticksPerSecond, wall, figures.cpuMsPerTick, 100 * cpu / wall);
  if (ticks.empty()) return figures;
  std::printf("  tick interval ms: p50 %.2f  p90 %.2f  p99 %.2f  max %.2f; %d of %zu late by over half a period\n",
              percentile(intervals, 0.5), percentile(intervals, 0.9), percentile(intervals, 0.99),
              percentile(intervals, 1.0), missed, intervals.size());
  std::printf("  tick length ms:   p50 %.2f  p90 %.2f  p99 %.2f  max %.2f\n", percentile(lengths, 0.5),
              percentile(lengths, 0.9), percentile(lengths, 0.99), percentile(lengths, 1.0));
  return figures;
}

const MixerScene* layoutNamed(AppModel& model, const std::string& name) {
  for (const MixerScene& scene : model.layoutStore.layouts.get()) {
    if (scene.name == name) return &scene;
  }
  return nullptr;
}

// Wall and CPU milliseconds of composing the plan once, waited for, with the
// layers' motion advanced a frame each time so nothing is skipped.
// Called with the engine stopped and `gl` current on this thread.
Figures singleCanvas(GLContext& gl, AppModel& model, const MixerScene& scene, int frames) {
  GLCompositor compositor(gl, 1920, 1080);
  SourceTextureCache cache;
  const auto sources = model.frameSlots.snapshot();
  auto lookup = [&sources](const std::string& id) -> FrameRef {
    auto it = sources->find(id);
    return it == sources->end() ? nullptr : it->second->latest();
  };
  double t = hostTimeNow();
  composeOnce(compositor, cache, RenderPlan{scene.renderLayers(t, 1)}, lookup);  // uploads the pictures
  const double cpu0 = processCPUSeconds(), wall0 = hostTimeNow();
  for (int i = 0; i < frames; ++i) {
    t += 1.0 / 60;
    composeOnce(compositor, cache, RenderPlan{scene.renderLayers(t, 1)}, lookup);
  }
  const double cpu = processCPUSeconds() - cpu0, wall = hostTimeNow() - wall0;
  std::printf("Single canvas (demo Program plan, composed and waited for): %.2f ms wall, %.2f ms CPU per frame\n",
              wall * 1e3 / frames, cpu * 1e3 / frames);
  return {frames / wall, cpu * 1e3 / frames};
}

}  // namespace

int main(int argc, char** argv) {
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  const double seconds = argc > 1 ? std::max(1.0, std::atof(argv[1])) : 10.0;
  char folderTemplate[] = "/tmp/tavorin-engine-bench-XXXXXX";
  if (!mkdtemp(folderTemplate)) return 1;
  const std::filesystem::path folder = folderTemplate;

  GLibMainQueue queue;
  static GLContext* gl = new GLContext;  // kept to the end, as the app does
  gl->releaseCurrent();
  std::printf("GPU: %s\n", gl->description().c_str());
  AppEnvironment environment{.showFolder = folder / "show", .preferencesFile = folder / "preferences.json", .queue = queue};
  environment.glContext = gl;
  auto model = std::make_unique<AppModel>(std::move(environment));
  model->start();

  CompositorEngine& engine = *model->engine;
  auto demo = std::make_unique<DemoShow>(*model, 2.0);
  Figures everyCanvas, monitor, output;
  {
    Consumers all(engine, {{Canvas::program, kMonitor},
                           {Canvas::preview, kMonitor},
                           {Canvas::vertical, kMonitor},
                           {Canvas::verticalPreview, kMonitor},
                           {Canvas::studio, kMonitor}});
    runFor(queue, 1.0);  // pictures decoded, pools filled
    everyCanvas = measure("Demo show, every canvas drawn", queue, *model, seconds);
  }
  {
    Consumers programMonitor(engine, {{Canvas::program, kMonitor}});
    runFor(queue, 0.5);
    monitor = measure("Demo show, Program on a monitor", queue, *model, seconds);
  }
  {
    Consumers recorder(engine, {{Canvas::program, 30}});
    runFor(queue, 0.5);
    output = measure("Demo show, Program for a 30 fps output", queue, *model, seconds);
  }
  runFor(queue, 0.5);
  measure("Demo show, nothing consumed", queue, *model, seconds);
  demo.reset();

  // Nothing moves: the bars layout with its motion taken out, on Program.
  Figures idle;
  {
    Consumers programMonitor(engine, {{Canvas::program, kMonitor}});
    runFor(queue, 1.5);  // the last take ends; a cut during it would be dropped
    MixerScene still = *layoutNamed(*model, "Demo: Bars");
    for (LayerState& layer : still.layers) layer.animation.kind = LayerAnimation::Kind::none;
    model->layoutStore.add(still, "Bench: Still");
    model->loadLayout(*layoutNamed(*model, "Bench: Still"));
    model->cut(model->switcher);
    model->loadLayout(*layoutNamed(*model, "Bench: Still"));
    runFor(queue, 1.0);
    idle = measure("Static scene, Program on a monitor", queue, *model, seconds);
  }

  model->engine->stop();
  const MixerScene pip = *layoutNamed(*model, "Demo: Picture in picture");
  gl->makeCurrent();
  const Figures single = singleCanvas(*gl, *model, pip, 120);
  gl->releaseCurrent();

  std::printf("Program on a monitor against every canvas drawn: %.2fx the ticks a second, %.2fx the CPU per tick\n",
              monitor.ticksPerSecond / everyCanvas.ticksPerSecond, monitor.cpuMsPerTick / everyCanvas.cpuMsPerTick);
  std::printf("Ratios to the single canvas's CPU per frame: every canvas %.2f, Program on a monitor %.2f, "
              "Program for a 30 fps output %.2f, static tick %.3f\n",
              everyCanvas.cpuMsPerTick / single.cpuMsPerTick, monitor.cpuMsPerTick / single.cpuMsPerTick,
              output.cpuMsPerTick / single.cpuMsPerTick, idle.cpuMsPerTick / single.cpuMsPerTick);
  model->willTerminate();
  model.reset();
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
  return 0;
}

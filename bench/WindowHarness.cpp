// The operator's window against no window, in one process: the demo show,
// with eight more tone channels metering in the mixer, is recorded for
// SECONDS without a window, then for SECONDS with the window open and its
// mixer panel hidden, then for SECONDS with the panel shown. Prints the CPU
// each phase used (of one core), the window's and the mixer panel's extra,
// the Program monitor's latency from composition to the swap that shows it,
// and the frame clock's tick intervals (mean, spread) in each phase.
//
//   WindowHarness [SECONDS]            (Qt's offscreen platform, software scene graph)
//   xvfb-run -a WindowHarness [SECONDS]  (Qt Quick on GL under Xvfb)
#include <QCoreApplication>
#include <QGuiApplication>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTimer>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "HarnessFigures.h"
#include "app/ShowRuntime.h"
#include "audio/ToneGenerator.h"
#include "base/HostTime.h"
#include "ui/MonitorItem.h"
#include "ui/SceneGraphShare.h"
#include "ui/ShowWindow.h"

using namespace tavorin;

namespace {

struct Half {
  double cpuPercent = 0;
  double meanInterval = 0;  // ms
  double spread = 0;        // standard deviation of the intervals, ms
  double worst = 0;         // longest interval, ms
};

void serve(double seconds) {
  QTimer::singleShot(static_cast<int>(seconds * 1000), [] { QCoreApplication::quit(); });
  QCoreApplication::exec();
}

Half measure(AppModel& model, double seconds) {
  serve(2);  // settle
  const double wall = hostTimeNow(), cpu = processCPUSeconds();
  const std::uint64_t ticks = model.engine->tickTimings().count();
  serve(seconds);
  Half half;
  half.cpuPercent = (processCPUSeconds() - cpu) / (hostTimeNow() - wall) * 100;
  const auto list = model.engine->tickTimings().since(ticks);
  std::vector<double> intervals;
  for (std::size_t i = 1; i < list.size(); ++i) intervals.push_back((list[i].start - list[i - 1].start) * 1000);
  if (intervals.empty()) return half;
  double sum = 0, squares = 0;
  for (double v : intervals) sum += v;
  half.meanInterval = sum / intervals.size();
  for (double v : intervals) squares += (v - half.meanInterval) * (v - half.meanInterval);
  half.spread = std::sqrt(squares / intervals.size());
  half.worst = *std::max_element(intervals.begin(), intervals.end());
  return half;
}

}  // namespace

int main(int argc, char** argv) {
  const double seconds = argc > 1 ? std::max(2.0, std::atof(argv[1])) : 20;
  if (!std::getenv("DISPLAY") && !std::getenv("QT_QPA_PLATFORM")) setenv("QT_QPA_PLATFORM", "offscreen", 1);
  if (std::string(std::getenv("QT_QPA_PLATFORM") ? std::getenv("QT_QPA_PLATFORM") : "") == "offscreen") {
    setenv("QT_QUICK_BACKEND", "software", 0);
  }
  setenv("QT_XCB_GL_INTEGRATION", "xcb_egl", 0);
  QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
  QGuiApplication application(argc, argv);
  QQuickStyle::setStyle("Basic");

  char pattern[] = "/tmp/tavorin-window-XXXXXX";
  const std::filesystem::path dir = mkdtemp(pattern);
  LaunchOptions options;
  options.showDir = dir;
  options.demo = true;
  options.record = true;
  options.recordingsDir = dir / "recordings";
  GLibMainQueue queue;
  ShowRuntime runtime(options, queue, [] { QCoreApplication::quit(); }, sceneGraphShareGroup());
  if (!runtime.model()) {
    std::fprintf(stderr, "%s\n", runtime.failure().c_str());
    return 1;
  }
  runtime.start();
  AppModel& model = *runtime.model();

  // Eight channels on the meters, as a show with eight inputs has.
  std::vector<std::unique_ptr<ToneGenerator>> tones;
  for (int i = 0; i < 8; ++i) {
    const std::string id = "tone:bench" + std::to_string(i);
    tones.push_back(std::make_unique<ToneGenerator>(
        model.audioMixer.addSourceChannel(id, "Tone " + std::to_string(i + 1), "waveform", false, std::nullopt),
        220.0 * (i + 1), 0.05f));
  }

  const Half without = measure(model, seconds);
  Half withoutMixer, with;
  std::vector<double> latencies;
  std::string platform;
  {
    ShowWindow window(model);
    if (!window.window()) return 1;
    window.window()->resize(1366, 768);
    platform = QGuiApplication::platformName().toStdString() + ", " +
               (window.window()->rendererInterface()->graphicsApi() == QSGRendererInterface::Software ? "software" : "OpenGL") +
               " scene graph, monitors " + (model.engine->sharesTextures() ? "sample shared textures" : "upload pixels");
    QObject* mixer = window.window()->findChild<QObject*>("mixerPanel");
    if (mixer) mixer->setProperty("visible", false);
    withoutMixer = measure(model, seconds);
    if (mixer) mixer->setProperty("visible", true);
    with = measure(model, seconds);
    latencies = MonitorItem::programLatencies();
  }
  bool closed = true;
  runtime.finish(closed);
  std::filesystem::remove_all(dir);

  std::printf("demo show recorded, %.0f s each phase, Qt %s (%s)\n", seconds, qVersion(), platform.c_str());
  std::printf("%-12s %8s %14s %10s %10s\n", "", "CPU %", "tick mean ms", "spread ms", "worst ms");
  for (const auto& [name, half] :
       {std::pair{"no window", without}, std::pair{"no mixer", withoutMixer}, std::pair{"window", with}}) {
    std::printf("%-12s %8.1f %14.2f %10.2f %10.2f\n", name, half.cpuPercent, half.meanInterval, half.spread, half.worst);
  }
  std::printf("window's extra CPU: %.1f %% of one core\n", with.cpuPercent - without.cpuPercent);
  std::printf("mixer panel with 8 channels metering: %.1f %% of one core\n", with.cpuPercent - withoutMixer.cpuPercent);
  if (!latencies.empty()) {
    std::sort(latencies.begin(), latencies.end());
    std::printf("Program monitor, composition to swap: median %.1f ms, 95th %.1f ms, %zu pictures\n",
                bench::median(latencies) * 1000, latencies[latencies.size() * 95 / 100] * 1000, latencies.size());
  }
  return 0;
}

// Web overlays on this machine: CPU per second, ours and the browser's
// together, for an animated overlay at 1920 x 1080 at 15 and 30 frames a
// second, a 1920 x 300 lower third at 30, and a static page; with the rate
// each reached. The baseline, in the same run: copying the same number of
// frames of the same size with memcpy, the least any route that hands pixels
// over could cost.
//
//   WebOverlayHarness [seconds per run, default 6]
#include <dirent.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <glib.h>

#include "HarnessFigures.h"
#include "base/HostTime.h"
#include "platform/loop/GLibMainQueue.h"
#include "platform/web/ChromiumWebEngine.h"
#include "sources/WebOverlaySource.h"

using namespace tavorin;

namespace {

// A transparent overlay that moves every frame: a sliding card with text and a clock.
constexpr const char* kAnimated = R"(<!doctype html><html><head><style>
html,body{margin:0;height:100%;overflow:hidden;background:transparent;font-family:sans-serif;color:#fff}
#card{position:absolute;top:20%;height:60%;width:40%;border-radius:2vh;background:linear-gradient(90deg,#3a0ca3,#f72585);
  display:flex;align-items:center;justify-content:center;font-size:12vh;font-weight:800}
</style></head><body><div id="card">00:00.000</div><script>
const card = document.getElementById('card'); const t0 = performance.now();
function tick(now) { const t = (now - t0) / 1000; card.style.left = (30 + 25 * Math.sin(t)) + '%';
  card.textContent = t.toFixed(3); requestAnimationFrame(tick); }
requestAnimationFrame(tick);
</script></body></html>)";

constexpr const char* kStatic = R"(<!doctype html><html><head><style>
html,body{margin:0;height:100%;background:transparent}
#bug{position:absolute;right:3%;top:4%;padding:1vh 2vh;background:rgba(0,0,0,.6);color:#fff;font:700 5vh sans-serif}
</style></head><body><div id="bug">LIVE</div></body></html>)";

// CPU seconds of every process in the browser's process group.
double browserCPUSeconds(pid_t group) {
  double ticks = 0;
  DIR* proc = opendir("/proc");
  if (!proc) return 0;
  while (dirent* entry = readdir(proc)) {
    if (entry->d_name[0] < '0' || entry->d_name[0] > '9') continue;
    std::ifstream stat(std::string("/proc/") + entry->d_name + "/stat");
    std::string line;
    std::getline(stat, line);
    auto close = line.rfind(')');
    if (close == std::string::npos) continue;
    std::vector<std::string> fields;
    std::string field;
    for (char c : line.substr(close + 2)) {
      if (c == ' ') {
        fields.push_back(field);
        field.clear();
      } else {
        field.push_back(c);
      }
    }
    // After the name: state, ppid, pgrp, …, utime (12th), stime (13th).
    if (fields.size() > 12 && std::atol(fields[2].c_str()) == group) {
      ticks += std::atof(fields[11].c_str()) + std::atof(fields[12].c_str());
    }
  }
  closedir(proc);
  return ticks / double(sysconf(_SC_CLK_TCK));
}

void spin(double seconds, const std::function<void()>& each = {}) {
  double end = hostTimeNow() + seconds;
  while (hostTimeNow() < end) {
    if (!g_main_context_iteration(nullptr, FALSE)) g_usleep(1000);
    if (each) each();
  }
}

struct Figures {
  double cpuPerSecond;  // cores
  double ourPerSecond;  // of which this process's
  double fps;
  int width;
  int height;
};

Figures measure(ChromiumWebEngine& engine, const std::filesystem::path& page, int width, int height, double fps,
                double seconds) {
  WebOverlaySource source("bench", "bench", page, {}, engine);
  source.setPageSize(width, height);
  source.setLiveFPS(fps);
  source.start({});
  spin(3.0);  // the browser and the page are up, the first frames are out
  std::uint64_t seen = 0;
  int frames = 0;
  auto count = [&] {
    if (auto frame = source.latestFrame(); frame && frame->generation() != seen) {
      seen = frame->generation();
      ++frames;
    }
  };
  count();
  frames = 0;
  double ours = processCPUSeconds();
  double theirs = browserCPUSeconds(engine.browserPid());
  spin(seconds, count);
  double ourCPU = processCPUSeconds() - ours;
  double cpu = ourCPU + browserCPUSeconds(engine.browserPid()) - theirs;
  auto frame = source.latestFrame();
  source.stop();
  spin(0.5);
  return {cpu / seconds, ourCPU / seconds, frames / seconds, frame ? frame->width() : 0, frame ? frame->height() : 0};
}

// CPU per second of copying `fps` frames of this size a second.
double memcpyPerSecond(int width, int height, double fps) {
  std::size_t bytes = std::size_t(width) * height * 4;
  std::vector<std::uint8_t> from(bytes, 1), to(bytes);
  int copies = int(fps * 20);
  double start = threadCPUSeconds();
  for (int i = 0; i < copies; ++i) {
    from[std::size_t(i) % bytes] = std::uint8_t(i);
    std::memcpy(to.data(), from.data(), bytes);
  }
  volatile std::uint8_t sink = to[std::size_t(copies) % bytes];
  (void)sink;
  return (threadCPUSeconds() - start) / 20;
}

}  // namespace

int main(int argc, char** argv) {
  double seconds = argc > 1 ? std::atof(argv[1]) : 6;
  auto dir = std::filesystem::temp_directory_path() / ("tavorin-web-bench-" + std::to_string(getpid()));
  std::filesystem::create_directories(dir);
  std::ofstream(dir / "animated.html") << kAnimated;
  std::ofstream(dir / "static.html") << kStatic;
  GLibMainQueue queue;
  ChromiumWebEngine engine(queue, {.executable = {}, .profileDir = dir / "profile", .log = [](std::string line) {
                                     std::fprintf(stderr, "%s\n", line.c_str());
                                   }});
  struct Run {
    const char* name;
    const char* page;
    int width, height;
    double fps;
  };
  std::printf("%-24s %7s %8s %12s %10s %9s\n", "overlay", "asked", "reached", "CPU (cores)", "of it ours", "x memcpy");
  for (auto run : {Run{"animated 1920x1080", "animated.html", 1920, 1080, 15},
                   Run{"animated 1920x1080", "animated.html", 1920, 1080, 30},
                   Run{"lower third 1920x300", "animated.html", 1920, 300, 30},
                   Run{"static 1920x1080", "static.html", 1920, 1080, 15}}) {
    Figures figures = measure(engine, dir / run.page, run.width, run.height, run.fps, seconds);
    double baseline = memcpyPerSecond(figures.width, figures.height, std::max(figures.fps, 1.0));
    std::printf("%-24s %7.1f %8.1f %12.3f %10.3f %9.0f\n", run.name, run.fps, figures.fps, figures.cpuPerSecond,
                figures.ourPerSecond, figures.cpuPerSecond / baseline);
  }
  std::filesystem::remove_all(dir);
  return 0;
}

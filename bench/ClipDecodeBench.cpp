// Clips at 1080p30 H.264, made once per run. BM_ClipDecode1080p: decoding and
// conversion to BGRA, user CPU seconds per second of playback ("cpu_per_s"),
// against ffmpeg's own user time decoding the same file to nothing
// (`ffmpeg -benchmark … -f null -`, "ffmpeg_per_s") in the same run;
// "x_ffmpeg" is the ratio, with the aim of staying within 1.2.
// BM_FourClips1080p: four clips playing at once on the real clock for five
// seconds; "dropped" is the pictures per clip that never showed, "shown_fps"
// the rate each clip kept.
#include <benchmark/benchmark.h>

#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "FFmpegBaseline.h"
#include "ProcessCPU.h"
#include "platform/media/ClipDecoder.h"
#include "sources/LoopingVideoSource.h"

namespace tavorin {
namespace {

namespace fs = std::filesystem;

constexpr double kSeconds = 10;

struct Clip {
  Clip() {
    folder = fs::temp_directory_path() / ("tavorin-clip-bench-" + std::to_string(getpid()));
    fs::create_directories(folder);
    file = folder / "clip.mp4";
    bench::runCommand("ffmpeg -v error -nostdin -y -f lavfi -i testsrc2=size=1920x1080:rate=30:duration=" +
        std::to_string(static_cast<int>(kSeconds)) + " -c:v libx264 -preset veryfast -g 30 -pix_fmt yuv420p " +
        file.string() + " 2>&1");
  }
  ~Clip() { fs::remove_all(folder); }

  double ffmpegSecondsPerSecond() const { return bench::ffmpegDecodeSeconds(file) / kSeconds; }

  fs::path folder;
  fs::path file;
};

// Nothing here waits for the main thread.
struct NullQueue final : MainQueue {
  void post(std::function<void()>) override {}
  TimerHandle after(double, std::function<void()>) override { return {}; }
  TimerHandle every(double, std::function<void()>) override { return {}; }
  double now() const override { return hostTimeNow(); }
};

void BM_ClipDecode1080p(benchmark::State& state) {
  Clip clip;
  double cpuSeconds = 0;
  double played = 0;
  for (auto _ : state) {
    std::string error;
    auto decoder = ClipDecoder::open(clip.file, error);
    if (!decoder) {
      state.SkipWithError(error.c_str());
      return;
    }
    ClipPicture picture;
    ClipSound sound;
    const double began = processUserSeconds();
    while (decoder->next(picture, sound) != ClipDecoder::Step::end) picture.buffer.reset();
    cpuSeconds += processUserSeconds() - began;
    played += kSeconds;
  }
  const double ours = cpuSeconds / played;
  const double ffmpeg = clip.ffmpegSecondsPerSecond();
  state.counters["cpu_per_s"] = ours;
  state.counters["ffmpeg_per_s"] = ffmpeg;
  state.counters["x_ffmpeg"] = ours / ffmpeg;
}
BENCHMARK(BM_ClipDecode1080p)->Unit(benchmark::kMillisecond)->Iterations(2);

void BM_FourClips1080p(benchmark::State& state) {
  Clip clip;
  NullQueue queue;
  constexpr double kPlay = 5;
  double dropped = 0, shownFPS = 0;
  for (auto _ : state) {
    std::vector<std::unique_ptr<LoopingVideoSource>> clips;
    std::vector<std::set<double>> shown(4);
    for (int i = 0; i < 4; ++i) {
      clips.push_back(std::make_unique<LoopingVideoSource>(clip.file, queue));
      clips.back()->start([](std::optional<std::string>) {});
    }
    // Each clip's first picture opens the count, so opening the file is left out.
    const auto began = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - began < std::chrono::duration<double>(kPlay + 1)) {
      std::this_thread::sleep_for(std::chrono::milliseconds(4));
      for (int i = 0; i < 4; ++i) {
        if (auto frame = clips[i]->latestFrame()) shown[i].insert(frame->hostTime());
      }
    }
    for (const auto& times : shown) {
      // Pictures due over the five seconds after the first shown one.
      const double first = times.empty() ? 0 : *times.begin();
      const auto inWindow = std::count_if(times.begin(), times.end(), [&](double t) { return t < first + kPlay; });
      dropped += 30 * kPlay - static_cast<double>(inWindow);
      shownFPS += static_cast<double>(inWindow) / kPlay;
    }
  }
  const double runs = static_cast<double>(state.iterations()) * 4;
  state.counters["dropped"] = dropped / runs;
  state.counters["shown_fps"] = shownFPS / runs;
}
BENCHMARK(BM_FourClips1080p)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
}  // namespace tavorin

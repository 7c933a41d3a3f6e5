// Cost of one keystroke in a title: the design changes by a character and the
// picture is laid out and drawn again into a pooled buffer (what the title's
// own queue does once per edit). Each figure comes with the time of a memcpy
// of one 1920 x 1080 BGRA frame measured in the same run, as "x_memcpy".
// A still title costs nothing per frame: its queue runs only when apply() is
// called, and the frame clock only reads the published reference.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include "sources/TextPainter.h"
#include "sources/TextSource.h"

namespace tavorin {
namespace {

constexpr std::size_t kFrameBytes = 1920 * 1080 * 4;

// Seconds per memcpy of one 1080p frame, best of a few runs.
double memcpySeconds() {
  std::vector<unsigned char> from(kFrameBytes, 1), to(kFrameBytes);
  double best = 1e9;
  for (int run = 0; run < 20; ++run) {
    const auto start = std::chrono::steady_clock::now();
    std::memcpy(to.data(), from.data(), kFrameBytes);
    benchmark::DoNotOptimize(to.data());
    best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
  return best;
}

// Two lines on a rounded panel with a gradient, as a lower third on a 1080p canvas;
// `fontSize` 200 makes a picture about as wide as the canvas itself.
TextConfig lowerThird(double fontSize) {
  TextConfig config;
  config.text = "Anna Berg\nProducer, Evening News";
  config.fontSize = fontSize;
  config.alignment = TextConfig::Align::left;
  config.backgroundEnabled = true;
  config.background.style = ShapeFill::Style::linear;
  config.cornerRadius = 0.2;
  return config;
}

void report(benchmark::State& state, double perRender, int width, int height) {
  const double memcpy = memcpySeconds();
  state.counters["ms_render"] = perRender * 1e3;
  state.counters["ms_memcpy_1080p"] = memcpy * 1e3;
  state.counters["x_memcpy"] = perRender / memcpy;
  state.counters["picture_w"] = width;
  state.counters["picture_h"] = height;
}

void BM_KeystrokeRedraw(benchmark::State& state) {
  TextPainter painter;
  TextConfig config = lowerThird(static_cast<double>(state.range(0)));
  int width = 0, height = 0;
  char typed = 'a';
  const auto start = std::chrono::steady_clock::now();
  for (auto _ : state) {
    config.text.back() = typed;
    typed = typed == 'z' ? 'a' : static_cast<char>(typed + 1);
    PixelBufferRef picture = painter.draw(config);
    width = picture->width();
    height = picture->height();
    benchmark::DoNotOptimize(picture->data());
  }
  const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  report(state, elapsed / static_cast<double>(state.iterations()), width, height);
}
BENCHMARK(BM_KeystrokeRedraw)->Arg(64)->Arg(200)->Unit(benchmark::kMillisecond);

// The same through the source: apply on the caller's thread, drawn and
// published on the title's queue.
void BM_KeystrokeApplyAndPublish(benchmark::State& state) {
  TextSource title("text:bench", "Bench", lowerThird(static_cast<double>(state.range(0))));
  TextConfig config = title.config.get();
  char typed = 'a';
  const auto start = std::chrono::steady_clock::now();
  for (auto _ : state) {
    config.text.back() = typed;
    typed = typed == 'z' ? 'a' : static_cast<char>(typed + 1);
    title.apply(config);
    title.waitUntilDrawn();
  }
  const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const FrameRef frame = title.latestFrame();
  report(state, elapsed / static_cast<double>(state.iterations()), frame->width(), frame->height());
}
BENCHMARK(BM_KeystrokeApplyAndPublish)->Arg(64)->Arg(200)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tavorin

// Cost of composing a 1920 x 1080 Program frame on the GL compositor: N
// full-canvas layers whose source frames all change every frame (so each is
// uploaded), drawn plain or with radii, border, shadow and chroma key, and read
// back into a pooled buffer. Each figure comes with the time of a memcpy of the
// same bytes (layers x frame bytes) measured in the same run, as "x_memcpy".
// The Upload, Draw and Readback cases split the pipeline to show where time goes.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <vector>

#include <epoxy/gl.h>

#include "base/PixelBufferPool.h"
#include "compositor/FrameReadback.h"
#include "compositor/GLCompositor.h"
#include "compositor/PlanSnapshot.h"
#include "compositor/RenderTarget.h"
#include "compositor/SourceTextureCache.h"
#include "platform/gl/GLContext.h"

namespace tavorin {
namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;

GLContext& context() {
  static GLContext* shared = new GLContext;
  shared->makeCurrent();
  return *shared;
}

struct Setup {
  explicit Setup(int layers, bool decorated) : compositor(context(), kWidth, kHeight) {
    for (int i = 0; i < layers; ++i) {
      auto frame = PixelBuffer::make(kWidth, kHeight);
      frame->fill(static_cast<std::uint8_t>(40 * i), 200, static_cast<std::uint8_t>(255 - 30 * i), 255);
      frames.push_back(frame);
      RenderLayer layer;
      layer.sourceID = "source:" + std::to_string(i);
      layer.fill = true;
      layer.opacity = i == 0 ? 1.0f : 0.8f;
      // Slightly inset and turned, as a real show's layers are.
      layer.size = {0.98, 0.98};
      layer.rotation = 0.01f * i;
      if (decorated) {
        layer.corners = CornerRadii::uniform(0.05f);
        layer.borderWidth = 0.01f;
        layer.shadowOpacity = 0.6f;
        layer.keyMode = KeyMode::chroma;
      }
      plan.layers.push_back(layer);
    }
    provider = makeFrameProvider(cache, [this](const std::string& id) {
      return frames[static_cast<std::size_t>(std::stoi(id.substr(7)))];
    });
  }

  void changeFrames() {
    for (auto& frame : frames) frame->markRewritten();
  }

  GLCompositor compositor;
  SourceTextureCache cache;
  std::vector<PixelBufferRef> frames;
  RenderPlan plan;
  FrameProvider provider;
  MaskProvider noMask = [](const std::string&) { return std::optional<LayerTexture>(); };
  RenderTarget target{kWidth, kHeight};
  FrameReadback readback{kWidth, kHeight};
  PixelBufferPool pool{kWidth, kHeight};
};

// Seconds per memcpy of `bytes`, best of a few runs.
double memcpySeconds(std::size_t bytes) {
  std::vector<std::uint8_t> from(bytes, 1), to(bytes);
  double best = 1e9;
  for (int i = 0; i < 8; ++i) {
    const auto start = std::chrono::steady_clock::now();
    std::memcpy(to.data(), from.data(), bytes);
    benchmark::DoNotOptimize(to.data());
    best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
  return best;
}

void reportAgainstMemcpy(benchmark::State& state, double seconds, int layers) {
  const std::size_t bytes = static_cast<std::size_t>(layers) * PixelBuffer::rowBytesFor(kWidth) * kHeight;
  const double perFrame = seconds / static_cast<double>(state.iterations());
  state.counters["ms_frame"] = perFrame * 1e3;
  state.counters["x_memcpy"] = perFrame / memcpySeconds(bytes);
}

// The clock's steady state: upload changed frames, draw, queue the readback,
// collect the previous frame (waiting here only so the figure is throughput).
void BM_Compose(benchmark::State& state) {
  const int layers = static_cast<int>(state.range(0));
  Setup setup(layers, state.range(1) != 0);
  double seconds = 0;
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    setup.changeFrames();
    setup.compositor.render(setup.plan, setup.target, setup.provider, setup.noMask);
    setup.readback.begin(setup.target);
    if (setup.readback.pendingCount() > 1) benchmark::DoNotOptimize(setup.readback.collect(setup.pool, true));
    seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }
  while (setup.readback.pendingCount() > 0) setup.readback.collect(setup.pool, true);
  reportAgainstMemcpy(state, seconds, layers);
}
BENCHMARK(BM_Compose)->ArgsProduct({{1, 4, 8}, {0, 1}})->ArgNames({"layers", "decorated"})->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_UploadOnly(benchmark::State& state) {
  const int layers = static_cast<int>(state.range(0));
  Setup setup(layers, false);
  double seconds = 0;
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    setup.changeFrames();
    for (const RenderLayer& layer : setup.plan.layers) setup.provider(layer);
    glFinish();
    seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }
  reportAgainstMemcpy(state, seconds, layers);
}
BENCHMARK(BM_UploadOnly)->Arg(1)->Arg(4)->Arg(8)->ArgName("layers")->Unit(benchmark::kMillisecond)->UseRealTime();

// Frames unchanged, so nothing is uploaded: the cost of the fragment work.
void BM_DrawOnly(benchmark::State& state) {
  const int layers = static_cast<int>(state.range(0));
  Setup setup(layers, state.range(1) != 0);
  double seconds = 0;
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    setup.compositor.render(setup.plan, setup.target, setup.provider, setup.noMask);
    glFinish();
    seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }
  reportAgainstMemcpy(state, seconds, layers);
}
BENCHMARK(BM_DrawOnly)->ArgsProduct({{1, 4, 8}, {0, 1}})->ArgNames({"layers", "decorated"})->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ReadbackOnly(benchmark::State& state) {
  Setup setup(1, false);
  setup.compositor.render(setup.plan, setup.target, setup.provider, setup.noMask);
  double seconds = 0;
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    setup.readback.begin(setup.target);
    benchmark::DoNotOptimize(setup.readback.collect(setup.pool, true));
    seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }
  reportAgainstMemcpy(state, seconds, 1);
}
BENCHMARK(BM_ReadbackOnly)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace tavorin

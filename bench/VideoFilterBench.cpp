// Each filter kind at its defaults on a 1920 × 1080 picture, the GPU waited
// for after every frame, to set against the pass-through pass (the same
// decode and encode, no filter) measured first in the same run.
#include <benchmark/benchmark.h>

#include <map>
#include <memory>

#include "compositor/ShaderSources.h"
#include "compositor/VideoFilterRenderer.h"
#include "model/VideoFilterDefaults.h"
#include "platform/gl/GLContext.h"
#include "platform/gpu/GLGpu.h"

using namespace tavorin;

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;

struct Setup {
  GLContext* context = new GLContext;  // never torn down, as in the tests
  std::unique_ptr<GLGpu> gpu;
  std::unique_ptr<VideoFilterRenderer> renderer;
  std::unique_ptr<GpuTexture> source;
  std::unique_ptr<GpuTexture> target;
  std::unique_ptr<GpuPass> passThrough;

  Setup() {
    context->makeCurrent();
    gpu = std::make_unique<GLGpu>(*context);
    renderer = std::make_unique<VideoFilterRenderer>(*gpu);
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(kWidth) * kHeight * 4);
    for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<std::uint8_t>((i * 7 + i / 4096) & 0xFF);
    GpuTextureParams params;
    params.width = kWidth;
    params.height = kHeight;
    params.renderable = true;
    params.initialData = pixels.data();
    source = gpu->createTexture(params);
    params.initialData = nullptr;
    target = gpu->createTexture(params);
    GpuPassParams copy;
    copy.name = "filter_vertex/passthrough_fragment";
    copy.vertexShader = shaders::filter_vertex;
    copy.fragmentShader = shaders::filter_fragment;
    copy.fragmentDefines = "#define KIND 99\n";
    copy.uniforms = {{"uParams", GpuUniformType::float4Array, 2},
                     {"uSize", GpuUniformType::float2},
                     {"uTime", GpuUniformType::float1}};
    copy.samplers = {"uSource", "uBlurred"};
    passThrough = gpu->createPass(copy);
  }
};

Setup& setup() {
  static Setup* made = new Setup;
  return *made;
}

void PassThrough(benchmark::State& state) {
  Setup& s = setup();
  const GpuTexture* textures[] = {s.source.get(), nullptr};
  const float values[11] = {0, 0, 0, 0, 0, 0, 0, 0, kWidth, kHeight, 0};
  GpuPassRun run;
  run.pass = s.passThrough.get();
  run.target = s.target.get();
  run.textures = textures;
  run.uniforms = values;
  run.vertexCount = 3;
  for (auto _ : state) {
    s.gpu->run(run);
    s.gpu->finish();
  }
}

void Filter(benchmark::State& state) {
  Setup& s = setup();
  const auto kind = EnumNames<VideoFilterKind>::table[state.range(0)].first;
  VideoFilterConfig filter;
  filter.kind = kind;
  filter.params = defaultVideoFilterParams(kind);
  const std::vector<VideoFilterConfig> stack{filter};
  const std::string id = "bench";
  double time = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(s.renderer->filtered(id, *s.source, stack, time += 1 / 30.0));
    s.gpu->finish();
    s.renderer->endFrame();
  }
  state.SetLabel(std::string(enumName(kind)));
}

}  // namespace

BENCHMARK(PassThrough)->Unit(benchmark::kMillisecond)->MinTime(0.5);
BENCHMARK(Filter)->DenseRange(0, 18)->Unit(benchmark::kMillisecond)->MinTime(0.5);

#include "compositor/VideoFilterRenderer.h"

#include <algorithm>
#include <tuple>

#include "compositor/ShaderSources.h"
#include "model/VideoFilterDefaults.h"

namespace tavorin {

namespace {

GpuPassParams filterParams(const std::string& fragmentName, const char* fragment, std::string defines) {
  GpuPassParams params;
  params.name = "filter_vertex/" + fragmentName;
  params.vertexShader = shaders::filter_vertex;
  params.fragmentShader = fragment;
  params.fragmentDefines = std::move(defines);
  return params;
}

}  // namespace

VideoFilterRenderer::VideoFilterRenderer(Gpu& gpu) : gpu_(gpu) {}

GpuTexture* VideoFilterRenderer::acquire(int width, int height) {
  Pool& pool = pools_[{width, height}];
  if (pool.used == pool.textures.size()) {
    GpuTextureParams params;
    params.width = width;
    params.height = height;
    params.renderable = true;
    auto made = gpu_.createTexture(params);
    if (!made) return nullptr;
    pool.textures.push_back(std::move(made));
  }
  return pool.textures[pool.used++].get();
}

const GpuPass& VideoFilterRenderer::filterPass(VideoFilterKind kind) {
  auto& pass = passes_[kind];
  if (!pass) {
    auto params = filterParams(std::string(enumName(kind)) + "_fragment", shaders::filter_fragment,
                               "#define KIND " + std::to_string(static_cast<int>(kind)) + "\n");
    params.uniforms = {{"uParams", GpuUniformType::float4Array, 2},
                       {"uSize", GpuUniformType::float2},
                       {"uTime", GpuUniformType::float1}};
    params.samplers = {"uSource", "uBlurred"};
    pass = gpu_.createPass(params);
  }
  return *pass;
}

const GpuPass& VideoFilterRenderer::blurPass() {
  if (!blur_) {
    auto params = filterParams("filter_blur_fragment", shaders::filter_blur_fragment, {});
    params.uniforms = {{"uDirection", GpuUniformType::float2},
                       {"uSigma", GpuUniformType::float1},
                       {"uSize", GpuUniformType::float2}};
    params.samplers = {"uSource"};
    blur_ = gpu_.createPass(params);
  }
  return *blur_;
}

const GpuTexture* VideoFilterRenderer::blur(const GpuTexture& input, float sigma) {
  GpuTexture* across = acquire(input.width(), input.height());
  GpuTexture* down = acquire(input.width(), input.height());
  if (across == nullptr || down == nullptr) return nullptr;
  const auto w = static_cast<float>(input.width()), h = static_cast<float>(input.height());
  const GpuPass& pass = blurPass();
  for (const auto& [from, into, dx, dy] : {std::tuple{&input, across, 1.f, 0.f}, std::tuple{(const GpuTexture*)across, down, 0.f, 1.f}}) {
    const GpuTexture* textures[] = {from};
    const float values[] = {dx, dy, sigma, w, h};
    GpuPassRun run;
    run.pass = &pass;
    run.target = into;
    run.textures = textures;
    run.uniforms = values;
    run.vertexCount = 3;
    gpu_.run(run);
  }
  return down;
}

const GpuTexture* VideoFilterRenderer::apply(const VideoFilterConfig& filter, const GpuTexture& input, double time) {
  const auto params = effectiveParams(filter);
  std::array<float, 8> values{};
  std::size_t at = 0;
  for (const VideoFilterParamSpec& spec : videoFilterParamSpecs(filter.kind)) {
    if (at < values.size()) values[at++] = static_cast<float>(params.at(std::string(spec.key)));
  }
  const GpuTexture* blurred = nullptr;
  if (filter.kind == VideoFilterKind::gaussianBlur) return blur(input, values[0]);
  if (filter.kind == VideoFilterKind::sharpen) blurred = blur(input, 1.0f);
  if (filter.kind == VideoFilterKind::bloom) blurred = blur(input, values[0]);
  if ((filter.kind == VideoFilterKind::sharpen || filter.kind == VideoFilterKind::bloom) && blurred == nullptr) {
    return nullptr;
  }
  GpuTexture* target = acquire(input.width(), input.height());
  if (target == nullptr) return nullptr;
  const GpuTexture* textures[] = {&input, blurred};
  const float uniforms[] = {values[0], values[1], values[2], values[3], values[4], values[5], values[6], values[7],
                            static_cast<float>(input.width()), static_cast<float>(input.height()),
                            static_cast<float>(time)};
  GpuPassRun run;
  run.pass = &filterPass(filter.kind);
  run.target = target;
  run.textures = textures;
  run.uniforms = uniforms;
  run.vertexCount = 3;
  gpu_.run(run);
  return target;
}

const GpuTexture* VideoFilterRenderer::filtered(const std::string& sourceID, const GpuTexture& source,
                                                const std::vector<VideoFilterConfig>& filters, double time) {
  if (std::none_of(filters.begin(), filters.end(), [](const VideoFilterConfig& f) { return f.enabled; })) {
    return nullptr;
  }
  for (const Done& done : done_) {
    if (done.sourceID == sourceID && done.source == &source && done.filters == filters) return done.result;
  }
  const GpuTexture* picture = &source;
  for (const VideoFilterConfig& filter : filters) {
    if (!filter.enabled) continue;
    picture = apply(filter, *picture, time);
    if (picture == nullptr) return nullptr;
  }
  ++runs_;
  done_.push_back(Done{sourceID, &source, filters, picture});
  return picture;
}

void VideoFilterRenderer::endFrame() {
  done_.clear();
  for (auto& [size, pool] : pools_) pool.used = 0;
}

}  // namespace tavorin

#include "compositor/VideoFilterRenderer.h"

#include <algorithm>
#include <cmath>

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
  const float acrossValues[] = {1, 0, sigma, w, h};
  const float downValues[] = {0, 1, sigma, w, h};
  draw(pass, *across, {&input}, acrossValues);
  draw(pass, *down, {across}, downValues);
  return down;
}

void VideoFilterRenderer::draw(const GpuPass& pass, const GpuTexture& target,
                               std::initializer_list<const GpuTexture*> textures, std::span<const float> uniforms) {
  GpuPassRun run;
  run.pass = &pass;
  run.target = &target;
  run.textures = std::span<const GpuTexture* const>(textures.begin(), textures.size());
  run.uniforms = uniforms;
  run.vertexCount = 3;
  gpu_.run(run);
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
  const float uniforms[] = {values[0], values[1], values[2], values[3], values[4], values[5], values[6], values[7],
                            static_cast<float>(input.width()), static_cast<float>(input.height()),
                            static_cast<float>(time)};
  draw(filterPass(filter.kind), *target, {&input, blurred}, uniforms);
  return target;
}

const GpuTexture* VideoFilterRenderer::filtered(const std::string& sourceID, const GpuTexture& source,
                                                const std::vector<VideoFilterConfig>& filters, double time) {
  if (std::none_of(filters.begin(), filters.end(), [](const VideoFilterConfig& f) { return f.enabled; })) {
    return nullptr;
  }
  for (const Done& done : done_) {
    if (done.source == &source && *done.sourceID == sourceID && (done.filters == &filters || *done.filters == filters)) {
      return done.result;
    }
  }
  const GpuTexture* picture = &source;
  for (const VideoFilterConfig& filter : filters) {
    if (!filter.enabled) continue;
    picture = apply(filter, *picture, time);
    if (picture == nullptr) return nullptr;
  }
  ++runs_;
  done_.push_back(Done{&sourceID, &source, &filters, picture});
  return picture;
}

PixelBufferRef VideoFilterRenderer::thumbnail(const PixelBuffer& frame, const std::vector<VideoFilterConfig>& filters,
                                             int maxSize) {
  if (!frame.valid() || maxSize <= 0) return nullptr;
  GpuTextureParams params;
  params.width = frame.width();
  params.height = frame.height();
  params.renderable = true;
  auto source = gpu_.createTexture(params);
  if (!source || !gpu_.upload(*source, frame.data(), frame.bytesPerRow())) return nullptr;
  // Its own run, kept apart from the frame's: the pools are shared but the memo is not.
  std::vector<Done> frameDone;
  frameDone.swap(done_);
  const std::string none;
  const GpuTexture* picture = filtered(none, *source, filters, 0);
  if (picture == nullptr) picture = source.get();
  const std::size_t rowBytes = PixelBuffer::rowBytesFor(picture->width());
  auto download = gpu_.createDownload(rowBytes * static_cast<std::size_t>(picture->height()));
  gpu_.startDownload(*picture, *download, rowBytes);
  done_.swap(frameDone);
  auto full = PixelBuffer::make(picture->width(), picture->height());
  if (!gpu_.downloaded(*download, true) ||
      !gpu_.readDownload(*download, std::span<std::uint8_t>(full->data(), full->byteCount()))) {
    return nullptr;
  }
  const double scale = std::min(1.0, static_cast<double>(maxSize) / std::max(frame.width(), frame.height()));
  const int width = std::max(1, static_cast<int>(std::lround(frame.width() * scale)));
  const int height = std::max(1, static_cast<int>(std::lround(frame.height() * scale)));
  if (width == frame.width() && height == frame.height()) return full;
  // A box filter: each small pixel is the mean of the full pixels it covers.
  auto small = PixelBuffer::make(width, height);
  for (int y = 0; y < height; ++y) {
    const int y0 = y * frame.height() / height, y1 = std::max(y0 + 1, (y + 1) * frame.height() / height);
    for (int x = 0; x < width; ++x) {
      const int x0 = x * frame.width() / width, x1 = std::max(x0 + 1, (x + 1) * frame.width() / width);
      std::array<unsigned, 4> sum{};
      for (int sy = y0; sy < y1; ++sy) {
        const std::uint8_t* row = full->row(sy);
        for (int sx = x0; sx < x1; ++sx) {
          for (int c = 0; c < 4; ++c) sum[static_cast<std::size_t>(c)] += row[4 * sx + c];
        }
      }
      const auto count = static_cast<unsigned>((y1 - y0) * (x1 - x0));
      for (int c = 0; c < 4; ++c) small->row(y)[4 * x + c] = static_cast<std::uint8_t>((sum[static_cast<std::size_t>(c)] + count / 2) / count);
    }
  }
  return small;
}

void VideoFilterRenderer::endFrame() {
  done_.clear();
  for (auto& [size, pool] : pools_) pool.used = 0;
}

}  // namespace tavorin

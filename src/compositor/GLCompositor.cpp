#include "compositor/GLCompositor.h"

#include "base/HostTime.h"
#include "compositor/LayerUniforms.h"
#include "compositor/QuadGeometry.h"

#include <algorithm>

namespace tavorin {

namespace {

constexpr float kBlurSigmaPerUnit = 28.0f;

bool wantsBackgroundBlur(const RenderLayer& layer) {
  return layer.opacity > kEffectEpsilon && layer.keyMode == KeyMode::personSegmentation &&
         layer.backgroundBlur > kEffectEpsilon;
}

}  // namespace

GLCompositor::GLCompositor(const GLContext& context, int canvasWidth, int canvasHeight)
    : canvasWidth_(canvasWidth), canvasHeight_(canvasHeight), renderer_(context), gpu_(context), blur_(context) {}

LayerTexture GLCompositor::filteredFrame(const RenderLayer& layer, const LayerTexture& frame, double time) {
  const auto& stack = *layer.videoFilters;
  if (std::none_of(stack.begin(), stack.end(), [](const VideoFilterConfig& f) { return f.enabled; })) return frame;
  auto& source = borrowed_[frame.texture];
  if (!source || source->width() != frame.width || source->height() != frame.height) {
    source = gpu_.borrow(frame.texture, frame.width, frame.height);
  }
  const GpuTexture* filtered = filters_.filtered(layer.sourceID, *source, stack, time);
  if (filtered == nullptr) return frame;
  return {static_cast<GLuint>(filtered->nativeHandle()), frame.width, frame.height};
}

void GLCompositor::setCanvasSize(int width, int height) {
  canvasWidth_ = width;
  canvasHeight_ = height;
}

std::pair<float, GLuint> GLCompositor::polygonMask(const RenderLayer& layer) {
  if (layer.maskMode == MaskMode::none) return {0.0f, 0};
  const GLuint texture = masks_.maskTexture(layer.maskPolygons);
  if (texture == 0) return {0.0f, 0};
  return {static_cast<float>(layer.maskMode), texture};
}

void GLCompositor::render(const RenderPlan& plan, const RenderTarget& target, const FrameProvider& frameProvider,
                          const MaskProvider& maskProvider) {
  const float aspect = static_cast<float>(canvasWidth_) / static_cast<float>(canvasHeight_);
  // Filtered pictures live for one canvas's drawing; a source's stack runs once in it.
  filters_.endFrame();
  if (borrowed_.size() > 64) borrowed_.clear();
  const double now = hostTimeNow();
  renderer_.begin();

  // Blur pre-pass: one blur per source per frame, the first layer's strength winning.
  blurred_.clear();
  for (const RenderLayer& layer : plan.layers) {
    if (!wantsBackgroundBlur(layer) || blurred_.contains(layer.sourceID)) continue;
    const std::optional<LayerTexture> frame = frameProvider(layer);
    if (!frame || frame->texture == 0) continue;
    const LayerTexture output = blur_.blur(layer.sourceID, *frame, layer.backgroundBlur * kBlurSigmaPerUnit);
    if (output.texture != 0) blurred_.emplace(layer.sourceID, output);
  }

  // The filters draw into their own targets: every one runs before the canvas is drawn.
  std::vector<std::optional<LayerTexture>>& frames = frames_;
  frames.clear();
  for (const RenderLayer& layer : plan.layers) {
    std::optional<LayerTexture> frame;
    if (layer.opacity > kEffectEpsilon) frame = frameProvider(layer);
    if (frame && frame->texture != 0) frame = filteredFrame(layer, *frame, now);
    frames.push_back(frame);
  }

  glBindFramebuffer(GL_FRAMEBUFFER, target.framebuffer());
  glViewport(0, 0, target.width(), target.height());
  glClearColor(0, 0, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  renderer_.begin();
  for (std::size_t i = 0; i < plan.layers.size(); ++i) {
    const RenderLayer& layer = plan.layers[i];
    const std::optional<LayerTexture>& frame = frames[i];
    if (!frame || frame->texture == 0) continue;
    if (layer.cornerPin) drawPinnedLayer(layer, *frame, maskProvider);
    else drawLayer(layer, *frame, maskProvider, aspect);
  }
}

void GLCompositor::drawLayer(const RenderLayer& layer, const LayerTexture& frame, const MaskProvider& maskProvider,
                             float aspect) {
  const auto [maskMode, maskTexture] = polygonMask(layer);
  const LayerBox box = layerBox(layer, frame.width, frame.height, aspect);
  if (layer.shadowOpacity > kEffectEpsilon) renderer_.drawShadow(shadowUniforms(layer, box));

  std::optional<LayerTexture> person;
  if (layer.keyMode == KeyMode::personSegmentation) person = maskProvider(layer.sourceID);
  const bool personReady = person && person->texture != 0;

  if (personReady && layer.backgroundBlur > kEffectEpsilon) {
    if (auto it = blurred_.find(layer.sourceID); it != blurred_.end()) {
      const GLuint background = it->second.texture;
      renderer_.drawQuad(blurredBackgroundUniforms(layer, box, maskMode), background, background,
                         maskTexture != 0 ? maskTexture : background);
      renderer_.drawQuad(personOverBackgroundUniforms(layer, box, maskMode), frame.texture, person->texture,
                         maskTexture != 0 ? maskTexture : frame.texture);
      return;
    }
  }
  float keyMode = static_cast<float>(layer.keyMode);
  if (layer.keyMode == KeyMode::personSegmentation && !personReady) keyMode = 0;
  renderer_.drawQuad(mainQuadUniforms(layer, box, keyMode, maskMode), frame.texture,
                     personReady ? person->texture : frame.texture, maskTexture != 0 ? maskTexture : frame.texture);
}

void GLCompositor::drawPinnedLayer(const RenderLayer& layer, const LayerTexture& frame,
                                   const MaskProvider& maskProvider) {
  const auto [maskMode, maskTexture] = polygonMask(layer);
  std::optional<LayerTexture> person;
  if (layer.keyMode == KeyMode::personSegmentation) person = maskProvider(layer.sourceID);
  const bool personReady = person && person->texture != 0;
  float keyMode = static_cast<float>(layer.keyMode);
  if (layer.keyMode == KeyMode::personSegmentation && !personReady) keyMode = 0;
  renderer_.drawQuad(pinnedQuadUniforms(layer, keyMode, maskMode), frame.texture,
                     personReady ? person->texture : frame.texture, maskTexture != 0 ? maskTexture : frame.texture);
}

}  // namespace tavorin

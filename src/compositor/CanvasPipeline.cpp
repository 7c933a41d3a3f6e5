#include "compositor/CanvasPipeline.h"

#include <algorithm>

#include "base/HostTime.h"

namespace tavorin {

CanvasPipeline::CanvasPipeline(int width, int height, std::size_t minimumBuffers)
    : target_(width, height), readback_(width, height), pool_(width, height, minimumBuffers) {}

void CanvasPipeline::invalidate() { valid_ = false; }

void CanvasPipeline::gatherFrames(const RenderPlan& plan, const FrameSlotMap::Map& sources) {
  frames_.clear();
  generations_.clear();
  for (const RenderLayer& layer : plan.layers) {
    FrameRef frame;
    if (auto it = sources.find(layer.sourceID); it != sources.end() && it->second) frame = it->second->latest();
    generations_.push_back(frame ? frame->generation() : 0);
    frames_.push_back(std::move(frame));
  }
  gatheredAt_ = hostTimeNow();
}

void CanvasPipeline::collectFinished() {
  while (readback_.pendingCount() > 0) {
    PixelBufferRef done = readback_.collect(pool_);
    if (!done) break;
    newest_ = std::move(done);
  }
}

PixelBufferRef CanvasPipeline::produce(GLCompositor& compositor, RenderPlan plan,
                                       const FrameSlotMap::Map& sources, SourceTextureCache& cache,
                                       const MaskProvider& maskProvider, bool readBack) {
  drew_ = false;
  if (plan.layers.empty() || !target_.complete()) {
    valid_ = false;
    unread_ = false;
    newest_.reset();
    frames_.clear();
    return nullptr;
  }
  gatherFrames(plan, sources);
  // A filter that moves by itself (the tape's noise and band) draws anew every tick.
  const bool moving = std::any_of(plan.layers.begin(), plan.layers.end(), [](const RenderLayer& layer) {
    return std::any_of(layer.videoFilters->begin(), layer.videoFilters->end(),
                       [](const VideoFilterConfig& f) { return f.enabled && f.kind == VideoFilterKind::vhs; });
  });
  const bool unchanged = valid_ && !moving && generations_ == lastGenerations_ && plan == lastPlan_;
  if (!unchanged) {
    // The provider finds each layer's frame by its place in the plan, so what
    // is drawn is exactly what was compared.
    cache_ = &cache;
    firstLayer_ = plan.layers.data();
    FrameProvider provider = [this](const RenderLayer& layer) -> std::optional<LayerTexture> {
      const FrameRef& frame = frames_[static_cast<std::size_t>(&layer - firstLayer_)];
      if (!frame) return std::nullopt;
      const LayerTexture texture = cache_->textureFor(layer.sourceID, *frame);
      if (texture.texture == 0) return std::nullopt;
      return texture;
    };
    compositor.render(plan, target_, provider, maskProvider);
    // A picture drawn while nobody read any is older than the target: it is not handed out.
    if (readBack && unread_) newest_.reset();
    unread_ = true;
    lastPlan_ = std::move(plan);
    lastGenerations_.swap(generations_);
    valid_ = true;
    drew_ = true;
  }
  frames_.clear();
  if (!readBack) return nullptr;
  if (unread_) {
    if (!drew_) newest_.reset();
    readback_.begin(target_);
    unread_ = false;
  }
  collectFinished();
  return newest_;
}

}  // namespace tavorin

namespace tavorin {

PixelBufferRef CanvasPipeline::readTarget(bool drawnAnew) {
  if (drawnAnew) readback_.begin(target_);
  unread_ = false;
  collectFinished();
  return newest_;
}

}  // namespace tavorin

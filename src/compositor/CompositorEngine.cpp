#include "compositor/CompositorEngine.h"

#include <utility>

#include "base/HostTime.h"

namespace tavorin {

namespace {

constexpr int kCameraWidth = 1920;
constexpr int kCameraHeight = 1080;
constexpr int kVerticalWidth = 1080;
constexpr int kVerticalHeight = 1920;
constexpr int kThumbnailLong = 480;
constexpr int kThumbnailShort = 270;

std::optional<LayerTexture> noMask(const std::string&) { return std::nullopt; }

void ensure(std::unique_ptr<CanvasPipeline>& pipeline, int width, int height, std::size_t minimumBuffers = 4) {
  if (!pipeline || pipeline->width() != width || pipeline->height() != height) {
    pipeline = std::make_unique<CanvasPipeline>(width, height, minimumBuffers);
  }
}

}  // namespace

CompositorEngine::CompositorEngine(GLContext& context, const FrameSlotMap& sourceMap)
    : sources(sourceMap), maskProvider(noMask), context_(context) {
  context_.makeCurrent();
  compositor_ = std::make_unique<GLCompositor>(context_, canvasWidth_.load(), canvasHeight_.load());
  verticalCompositor_ = std::make_unique<GLCompositor>(context_, kVerticalWidth, kVerticalHeight);
  scaler_ = std::make_unique<MonitorRenderer>(context_);
  context_.releaseCurrent();
}

CompositorEngine::~CompositorEngine() {
  stop();
  // GPU objects go with the context current here.
  context_.makeCurrent();
}

void CompositorEngine::start(double refreshRate) {
  if (clock_) return;
  clock_ = std::make_unique<FrameClock>([this](double now) { onRefresh(now); }, refreshRate);
  clock_->start([this] { context_.makeCurrent(); }, [this] { context_.releaseCurrent(); });
}

void CompositorEngine::stop() {
  if (clock_) clock_->stop();
}

void CompositorEngine::onRefresh(double now) {
  if (now - lastRenderTime_ < kMinRenderInterval) return;
  lastRenderTime_ = now;
  tick(now);
}

void CompositorEngine::setCanvas(int width, int height) {
  if (width == canvasWidth_.load() && height == canvasHeight_.load()) return;
  canvasWidth_ = width;
  canvasHeight_ = height;
  canvasChanged_ = true;
  std::lock_guard guard(lock_);
  programPixelBuffer_.reset();
  previewPixelBuffer_.reset();
}

void CompositorEngine::setAuxScenes(std::map<Uuid, MixerScene> scenes, std::map<Uuid, MixerScene> verticalScenes) {
  std::map<Uuid, PixelBufferRef> dropped;
  std::lock_guard guard(lock_);
  auxScenes_.swap(scenes);
  verticalAuxScenes_.swap(verticalScenes);
  for (auto it = auxBuffers_.begin(); it != auxBuffers_.end();) {
    if (auxScenes_.contains(it->first) || verticalAuxScenes_.contains(it->first)) {
      ++it;
    } else {
      dropped.insert(auxBuffers_.extract(it++));
    }
  }
}

PixelBufferRef CompositorEngine::programPixelBuffer() const {
  std::lock_guard guard(lock_);
  return programPixelBuffer_;
}
PixelBufferRef CompositorEngine::previewPixelBuffer() const {
  std::lock_guard guard(lock_);
  return previewPixelBuffer_;
}
PixelBufferRef CompositorEngine::verticalPixelBuffer() const {
  std::lock_guard guard(lock_);
  return verticalPixelBuffer_;
}
PixelBufferRef CompositorEngine::verticalPreviewPixelBuffer() const {
  std::lock_guard guard(lock_);
  return verticalPreviewPixelBuffer_;
}
PixelBufferRef CompositorEngine::studioPixelBuffer() const {
  std::lock_guard guard(lock_);
  return studioPixelBuffer_;
}
PixelBufferRef CompositorEngine::auxBuffer(const Uuid& id) const {
  std::lock_guard guard(lock_);
  auto it = auxBuffers_.find(id);
  return it == auxBuffers_.end() ? nullptr : it->second;
}

void CompositorEngine::store(PixelBufferRef& slot, const PixelBufferRef& buffer) {
  PixelBufferRef previous;
  std::lock_guard guard(lock_);
  previous = std::exchange(slot, buffer);
}

void CompositorEngine::measureRate(double now) {
  ++fpsCount_;
  if (fpsWindowStart_ == 0) fpsWindowStart_ = now;
  if (now - fpsWindowStart_ >= 1.0) {
    measuredFPS_.store(fpsCount_ / (now - fpsWindowStart_), std::memory_order_relaxed);
    fpsCount_ = 0;
    fpsWindowStart_ = now;
  }
}

void CompositorEngine::applyCanvasSize() {
  if (!canvasChanged_.exchange(false)) return;
  compositor_->setCanvasSize(canvasWidth_.load(), canvasHeight_.load());
}

PixelBufferRef CompositorEngine::draw(CanvasPipeline& pipeline, GLCompositor& compositor, const RenderPlan& plan) {
  return pipeline.produce(compositor, plan, *tickSources_, textures_, maskProvider);
}

PixelBufferRef CompositorEngine::downscaleForCamera(const PixelBufferRef& buffer) {
  if (buffer->width() == kCameraWidth && buffer->height() == kCameraHeight) return buffer;
  ensure(vcam_, kCameraWidth, kCameraHeight);
  // Scaled from the Program target on the GPU whenever Program drew anew.
  if (program_->drewLastTime()) {
    const RenderTarget& from = program_->target();
    scaler_->draw(vcam_->target(), LayerTexture{from.texture(), from.width(), from.height()});
  }
  PixelBufferRef scaled = vcam_->readTarget(program_->drewLastTime());
  return scaled ? scaled : buffer;
}

void CompositorEngine::tick(double now) {
  const double started = hostTimeNow();
  measureRate(now);
  applyCanvasSize();
  tickSources_ = sources.snapshot();
  if (presenterTick) presenterTick(now);
  const int width = canvasWidth_.load(), height = canvasHeight_.load();

  // Program.
  {
    RenderPlan plan = programPlanProvider ? programPlanProvider(now) : RenderPlan{};
    if (presenterApply) plan = presenterApply(std::move(plan));
    ensure(program_, width, height);
    PixelBufferRef buffer = draw(*program_, *compositor_, plan);
    store(programPixelBuffer_, buffer);
    if (buffer) {
      if (onProgramFrame) onProgramFrame(buffer, now);
      if (vcamSink) vcamSink(downscaleForCamera(buffer), now);
    }
  }
  // Preview.
  {
    RenderPlan plan = previewPlanProvider ? previewPlanProvider(now) : RenderPlan{};
    if (previewIsLive && previewIsLive() && presenterApply) plan = presenterApply(std::move(plan));
    ensure(preview_, width, height);
    store(previewPixelBuffer_, draw(*preview_, *compositor_, plan));
  }
  // Vertical Program.
  {
    RenderPlan plan = verticalPlanProvider ? verticalPlanProvider(now) : RenderPlan{};
    if (presenterApply) plan = presenterApply(std::move(plan));
    ensure(vertical_, kVerticalWidth, kVerticalHeight);
    PixelBufferRef buffer = draw(*vertical_, *verticalCompositor_, plan);
    store(verticalPixelBuffer_, buffer);
    if (buffer && onVerticalFrame) onVerticalFrame(buffer, now);
  }
  // Vertical Preview.
  {
    RenderPlan plan = verticalPreviewPlanProvider ? verticalPreviewPlanProvider(now) : RenderPlan{};
    if (verticalPreviewIsLive && verticalPreviewIsLive() && presenterApply) plan = presenterApply(std::move(plan));
    ensure(verticalPreview_, kVerticalWidth, kVerticalHeight);
    store(verticalPreviewPixelBuffer_, draw(*verticalPreview_, *verticalCompositor_, plan));
  }
  // Studio: 1920 x 1080 whatever the canvas (every canvas size is 16:9).
  if (studioPlanProvider) {
    ensure(studio_, kCameraWidth, kCameraHeight);
    store(studioPixelBuffer_, draw(*studio_, *compositor_, studioPlanProvider(now)));
  }

  const std::uint64_t ticks = tickCount_.fetch_add(1, std::memory_order_relaxed) + 1;
  if (ticks % kThumbnailEvery == 0) renderThumbnails(now);
  textures_.endFrame();
  tickSources_.reset();
  timings_.record(started, hostTimeNow() - started);
}

void CompositorEngine::renderThumbnails(double now) {
  std::map<Uuid, MixerScene> scenes, verticalScenes;
  {
    std::lock_guard guard(lock_);
    scenes = auxScenes_;
    verticalScenes = verticalAuxScenes_;
  }
  auto renderAll = [&](const std::map<Uuid, MixerScene>& all, GLCompositor& compositor, int w, int h) {
    for (const auto& [id, scene] : all) {
      RenderPlan plan{scene.renderLayers(now, 1.0f)};
      if (plan.layers.empty()) continue;  // the old picture stays
      ensure(thumbnails_[id], w, h, 1);
      PixelBufferRef buffer = draw(*thumbnails_[id], compositor, plan);
      if (!buffer) continue;
      std::lock_guard guard(lock_);
      auxBuffers_[id] = buffer;
    }
  };
  renderAll(scenes, *compositor_, kThumbnailLong, kThumbnailShort);
  renderAll(verticalScenes, *verticalCompositor_, kThumbnailShort, kThumbnailLong);
  std::erase_if(thumbnails_, [&](const auto& item) {
    return !scenes.contains(item.first) && !verticalScenes.contains(item.first);
  });
}

}  // namespace tavorin

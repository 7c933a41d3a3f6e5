#include "compositor/CompositorEngine.h"

#include <chrono>
#include <thread>
#include <utility>

#include "base/HostTime.h"
#include "model/CanvasSize.h"

namespace tavorin {

namespace {

// The camera and the studio canvas take 1080p whatever the main canvas (every
// canvas size is 16:9, so the main compositor draws them).
constexpr Size kFixedLandscape = pixelSize(CanvasSize::hd1080);
constexpr int kThumbnailLong = 480;
constexpr int kThumbnailShort = 270;
// Later than this past its refresh, a canvas takes the time it is drawn at.
constexpr double kLateDraw = 0.004;
// A frame-rate window longer than this spans a rest of the clock.
constexpr double kRestedWindow = 2.0;

enum class Shape { main, vertical, fixedLandscape };
enum class PresenterPass { always, whileLive, never };

// What sets each canvas apart: its size, and so its compositor, and when the presenter's pass applies.
struct CanvasRule {
  Shape shape;
  PresenterPass presenter;
};

constexpr CanvasRule ruleOf(Canvas canvas) {
  switch (canvas) {
    case Canvas::program: return {Shape::main, PresenterPass::always};
    case Canvas::preview: return {Shape::main, PresenterPass::whileLive};
    case Canvas::vertical: return {Shape::vertical, PresenterPass::always};
    case Canvas::verticalPreview: return {Shape::vertical, PresenterPass::whileLive};
    case Canvas::studio: return {Shape::fixedLandscape, PresenterPass::never};
  }
  return {Shape::main, PresenterPass::never};
}

int pixels(double length) { return static_cast<int>(length); }

std::pair<int, int> fixedPixels(Shape shape) {
  const Size size = shape == Shape::vertical ? kVerticalCanvasPixels : kFixedLandscape;
  return {pixels(size.width), pixels(size.height)};
}

std::optional<LayerTexture> noMask(const std::string&) { return std::nullopt; }

void ensure(std::unique_ptr<CanvasPipeline>& pipeline, int width, int height, std::size_t minimumBuffers = 4) {
  if (!pipeline || pipeline->width() != width || pipeline->height() != height) {
    pipeline = std::make_unique<CanvasPipeline>(width, height, minimumBuffers);
  }
}

}  // namespace

CompositorEngine::CompositorEngine(GLContext& context, const FrameSlotMap& sourceMap)
    : sources(sourceMap),
      maskProvider(noMask),
      context_(context),
      monitors_(context.sharesTextures()),
      canvasPixels_(CanvasPixels{pixels(kFixedLandscape.width), pixels(kFixedLandscape.height)}),
      tickCanvas_(canvasPixels_.load()) {
  context_.makeCurrent();
  compositor_ = std::make_unique<GLCompositor>(context_, tickCanvas_.width, tickCanvas_.height);
  const auto [verticalWidth, verticalHeight] = fixedPixels(Shape::vertical);
  verticalCompositor_ = std::make_unique<GLCompositor>(context_, verticalWidth, verticalHeight);
  scaler_ = std::make_unique<MonitorRenderer>(context_);
  nv12Converter_ = std::make_unique<Nv12Converter>(context_);
  context_.releaseCurrent();
}

CompositorEngine::~CompositorEngine() {
  stop();
  // GPU objects go with the context current here.
  context_.makeCurrent();
}

void CompositorEngine::start(double refreshRate) {
  std::lock_guard hold(consumersLock_);
  if (clock_) return;
  clockDriven_ = true;
  if (refreshRate > 0) refreshRate_ = refreshRate;
  clock_ = std::make_unique<FrameClock>([this](double now) { onRefresh(now); }, refreshRate_);
  applyDemand();
  clock_->start([this] { context_.makeCurrent(); }, [this] { context_.releaseCurrent(); });
}

void CompositorEngine::setRefreshRate(double refreshRate) {
  if (!(refreshRate > 0)) return;
  std::lock_guard hold(consumersLock_);
  refreshRate_ = refreshRate;
  applyDemand();
}

void CompositorEngine::stop() {
  if (clock_) clock_->stop();
}

void CompositorEngine::onRefresh(double now) {
  if (now - lastRenderTime_ < kMinRenderInterval) return;
  lastRenderTime_ = now;
  tick(now);
}

CompositorEngine::ConsumerID CompositorEngine::addConsumer(Canvas canvas, double rate) {
  std::lock_guard hold(consumersLock_);
  const ConsumerID id = consumers_.add(canvas, rate);
  applyDemand();
  return id;
}

void CompositorEngine::removeConsumer(ConsumerID id) {
  monitors_.remove(id);
  std::lock_guard hold(consumersLock_);
  consumers_.remove(id);
  applyDemand();
}

CompositorEngine::ConsumerID CompositorEngine::addMonitor(Canvas canvas, int width, int height) {
  std::lock_guard hold(consumersLock_);
  // A monitor draws its own copy from the canvas on the GPU: the canvas itself is not read back for it.
  const ConsumerID id = consumers_.add(canvas, kEveryRefresh, false);
  monitors_.add(id, canvas, width, height);
  applyDemand();
  return id;
}

void CompositorEngine::resizeMonitor(ConsumerID id, int width, int height) { monitors_.resize(id, width, height); }

double CompositorEngine::clockRate() const {
  std::lock_guard hold(consumersLock_);
  return consumers_.demand(refreshRate_).rate;
}

void CompositorEngine::applyDemand() {
  const CanvasDemand demand = consumers_.demand(refreshRate_);
  drawnCanvases_.store(demand.canvases, std::memory_order_relaxed);
  readCanvases_.store(demand.pictures, std::memory_order_relaxed);
  // A resting clock measures nothing; its last figure would stand for the rest.
  if (demand.rate == 0) measuredFPS_.store(0, std::memory_order_relaxed);
  if (clock_) clock_->setRate(demand.rate);
}

FrameRef CompositorEngine::drawnFrame(Canvas canvas, double timeout) {
  const CanvasSlot& entry = slotOf(canvas);
  const std::uint64_t before = entry.draws.load(std::memory_order_acquire);
  const ConsumerID id = addConsumer(canvas, kEveryRefresh);
  const double until = hostTimeNow() + timeout;
  // A picture kept only on the GPU until now is read back over a tick or two.
  FrameRef frame;
  while (hostTimeNow() < until) {
    if (entry.draws.load(std::memory_order_acquire) != before) {
      // Read while still consumed: the next tick lets an unconsumed canvas's picture go.
      frame = newestFrame(canvas);
      if (frame || !entry.showing.load(std::memory_order_acquire)) break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  removeConsumer(id);
  return frame;
}

void CompositorEngine::setCanvas(int width, int height) {
  const CanvasPixels size{width, height};
  if (canvasPixels_.exchange(size) == size) return;
  std::lock_guard guard(lock_);
  for (std::size_t i = 0; i < kCanvasCount; ++i) {
    if (ruleOf(static_cast<Canvas>(i)).shape == Shape::main) canvases_[i].newest.reset();
  }
}

void CompositorEngine::setPlanProvider(Canvas canvas, PlanProvider provider, std::function<bool()> isLive) {
  slotOf(canvas).provider = std::move(provider);
  slotOf(canvas).isLive = std::move(isLive);
}

void CompositorEngine::setFrameSink(Canvas canvas, FrameSink sink) { slotOf(canvas).sink = std::move(sink); }

void CompositorEngine::setNv12Output(Canvas canvas, Nv12Output output) {
  std::unique_ptr<Nv12Delivery>& nv12 = slotOf(canvas).nv12;
  nv12.reset();
  if (output.frames || output.surface) nv12 = std::make_unique<Nv12Delivery>(*nv12Converter_, std::move(output));
}

void CompositorEngine::setAuxScenes(std::map<Uuid, MixerScene> scenes, std::map<Uuid, MixerScene> verticalScenes) {
  std::map<Uuid, FrameRef> dropped;
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

FrameRef CompositorEngine::newestFrame(Canvas canvas) const {
  std::lock_guard guard(lock_);
  return canvases_[static_cast<std::size_t>(canvas)].newest;
}
FrameRef CompositorEngine::auxBuffer(const Uuid& id) const {
  std::lock_guard guard(lock_);
  auto it = auxBuffers_.find(id);
  return it == auxBuffers_.end() ? nullptr : it->second;
}

void CompositorEngine::store(FrameRef& slot, FrameRef frame) {
  FrameRef previous;
  std::lock_guard guard(lock_);
  previous = std::exchange(slot, std::move(frame));
}

void CompositorEngine::measureRate(double now) {
  // A window across a rest of the clock would count the rest as slowness.
  if (fpsWindowStart_ == 0 || now - fpsWindowStart_ > kRestedWindow) {
    fpsWindowStart_ = now;
    fpsCount_ = 0;
  }
  ++fpsCount_;
  if (now - fpsWindowStart_ >= 1.0) {
    measuredFPS_.store(fpsCount_ / (now - fpsWindowStart_), std::memory_order_relaxed);
    fpsCount_ = 0;
    fpsWindowStart_ = now;
  }
}

void CompositorEngine::applyCanvasSize() {
  const CanvasPixels size = canvasPixels_.load();
  if (size == tickCanvas_) return;
  tickCanvas_ = size;
  compositor_->setCanvasSize(size.width, size.height);
}

PixelBufferRef CompositorEngine::draw(CanvasPipeline& pipeline, GLCompositor& compositor, RenderPlan plan,
                                      bool readBack) {
  return pipeline.produce(compositor, std::move(plan), *tickSources_, textures_, maskProvider, readBack);
}

PixelBufferRef CompositorEngine::downscaleForCamera(const PixelBufferRef& buffer) {
  const auto [width, height] = fixedPixels(Shape::fixedLandscape);
  if (buffer->width() == width && buffer->height() == height) return buffer;
  ensure(vcam_, width, height);
  // Scaled from the Program target on the GPU whenever Program drew anew.
  const CanvasPipeline& program = *slotOf(Canvas::program).pipeline;
  if (program.drewLastTime()) {
    const RenderTarget& from = program.target();
    scaler_->draw(vcam_->target(), LayerTexture{from.texture(), from.width(), from.height()});
  }
  PixelBufferRef scaled = vcam_->readTarget(program.drewLastTime());
  return scaled ? scaled : buffer;
}

void CompositorEngine::tick(double now) {
  const double started = hostTimeNow();
  measureRate(now);
  applyCanvasSize();
  tickSources_ = sources.snapshot();
  if (presenterTick) presenterTick(now);
  monitors_.sync();
  const std::uint32_t consumed = drawnCanvases_.load(std::memory_order_relaxed);
  const std::uint32_t read = readCanvases_.load(std::memory_order_relaxed);
  for (std::size_t i = 0; i < kCanvasCount; ++i) {
    CanvasSlot& entry = canvases_[i];
    const bool wanted = (consumed >> i) & 1u;
    // A canvas nobody takes any more lets its picture go, so no one reads it as current later.
    if (!wanted && entry.drawnLastTick) store(entry.newest, nullptr);
    entry.drawnLastTick = wanted;
    if (!wanted) continue;
    drawCanvas(static_cast<Canvas>(i), now, (read >> i) & 1u);
    entry.draws.fetch_add(1, std::memory_order_release);
  }

  const std::uint64_t ticks = tickCount_.fetch_add(1, std::memory_order_relaxed) + 1;
  if (ticks % kThumbnailEvery == 0) renderThumbnails(now);
  textures_.endFrame();
  tickSources_.reset();
  timings_.record(started, hostTimeNow() - started);
}

void CompositorEngine::drawCanvas(Canvas canvas, double now, bool readBack) {
  CanvasSlot& entry = slotOf(canvas);
  if (!entry.provider) return;
  const CanvasRule rule = ruleOf(canvas);
  RenderPlan plan = entry.provider(now);
  const bool presenter = rule.presenter == PresenterPass::always ||
                         (rule.presenter == PresenterPass::whileLive && entry.isLive && entry.isLive());
  if (presenter && presenterApply) plan = presenterApply(std::move(plan));

  auto [width, height] =
      rule.shape == Shape::main ? std::pair{tickCanvas_.width, tickCanvas_.height} : fixedPixels(rule.shape);
  // A canvas only monitors take is drawn at the largest monitor's size: its pixels go nowhere else.
  if (const auto [w, h] = monitors_.largest(canvas); !readBack && !entry.nv12 && w > 0 && w < width) {
    width = w;
    height = h;
  }
  ensure(entry.pipeline, width, height);
  GLCompositor& compositor = rule.shape == Shape::vertical ? *verticalCompositor_ : *compositor_;
  CanvasPipeline& pipeline = *entry.pipeline;
  PixelBufferRef buffer = draw(pipeline, compositor, std::move(plan), readBack);
  // On the display clock, a canvas whose sources were read late shows what
  // they held then: it carries that time, or a source's newer picture would
  // be stamped early. Times a test hands in stay as given.
  if (const double at = pipeline.gatheredAt(); clockDriven_ && at - now > kLateDraw) now = at;
  // An unchanged picture comes back as the same buffer: it takes each tick's time.
  if (buffer) buffer->setHostTime(now);
  store(entry.newest, buffer);
  const RenderTarget* drawn = pipeline.hasPicture() ? &pipeline.target() : nullptr;
  entry.showing.store(drawn != nullptr, std::memory_order_release);
  monitors_.draw(canvas, *scaler_, drawn, pipeline.drewLastTime(), now);
  if (entry.nv12) entry.nv12->deliver(drawn, pipeline.drewLastTime(), now);
  if (!buffer) return;
  if (entry.sink) entry.sink(buffer);
  if (canvas == Canvas::program && vcamSink) {
    PixelBufferRef camera = downscaleForCamera(buffer);
    camera->setHostTime(now);
    vcamSink(camera);
  }
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
      PixelBufferRef buffer = draw(*thumbnails_[id], compositor, std::move(plan));
      if (!buffer) continue;
      buffer->setHostTime(now);
      std::lock_guard guard(lock_);
      auxBuffers_[id] = std::move(buffer);
    }
  };
  renderAll(scenes, *compositor_, kThumbnailLong, kThumbnailShort);
  renderAll(verticalScenes, *verticalCompositor_, kThumbnailShort, kThumbnailLong);
  std::erase_if(thumbnails_, [&](const auto& item) {
    return !scenes.contains(item.first) && !verticalScenes.contains(item.first);
  });
}

}  // namespace tavorin

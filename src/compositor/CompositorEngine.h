#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "base/FrameSlotMap.h"
#include "base/PixelBuffer.h"
#include "base/Uuid.h"
#include "compositor/CanvasPipeline.h"
#include "compositor/FrameClock.h"
#include "compositor/GLCompositor.h"
#include "compositor/MonitorRenderer.h"
#include "compositor/SourceTextureCache.h"
#include "compositor/TickTimings.h"
#include "model/MixerScene.h"
#include "model/RenderLayer.h"
#include "platform/gl/GLContext.h"

namespace tavorin {

// The frame clock: on each tick it asks the plan providers what to show,
// draws each canvas, keeps the newest frame of each for the monitors, and
// hands Program and vertical frames to the sinks. It knows no scenes or
// switchers, only closures and the sources map.
class CompositorEngine {
 public:
  using PlanProvider = std::function<RenderPlan(double now)>;
  using FrameSink = std::function<void(const PixelBufferRef& buffer, double now)>;

  // 1/61 s rather than 1/60, so a 60 Hz display is never thinned.
  static constexpr double kMinRenderInterval = 0.01639344262295082;
  static constexpr int kThumbnailEvery = 6;

  // Builds the GPU programs with `context` current on the calling thread and
  // releases it. Throws GLFailure when a program does not build. `sources`
  // holds the newest frame of each of the show's sources, kept by its owner.
  CompositorEngine(GLContext& context, const FrameSlotMap& sources);
  ~CompositorEngine();
  CompositorEngine(const CompositorEngine&) = delete;
  CompositorEngine& operator=(const CompositorEngine&) = delete;

  // Starts the clock thread at the display rate; a second call does nothing.
  void start(double refreshRate = 60.0);
  // Stops the clock; for quit and tests (the show itself never stops it).
  void stop();

  // The gate and the tick, as the clock calls them with the host time. Tests
  // call it directly with the context current on their own thread.
  void onRefresh(double now);

  // Main thread: the main canvas's size (the vertical canvas is fixed).
  void setCanvas(int width, int height);
  int canvasWidth() const { return canvasWidth_.load(); }
  int canvasHeight() const { return canvasHeight_.load(); }

  // Thumbnails: horizontal layouts and vertical-only layouts by id.
  void setAuxScenes(std::map<Uuid, MixerScene> scenes, std::map<Uuid, MixerScene> verticalScenes);

  // Newest composed frames, each read as a retained reference.
  PixelBufferRef programPixelBuffer() const;
  PixelBufferRef previewPixelBuffer() const;
  PixelBufferRef verticalPixelBuffer() const;
  PixelBufferRef verticalPreviewPixelBuffer() const;
  PixelBufferRef studioPixelBuffer() const;
  PixelBufferRef auxBuffer(const Uuid& id) const;

  double measuredFPS() const { return measuredFPS_.load(std::memory_order_relaxed); }
  std::uint64_t tickCount() const { return tickCount_.load(std::memory_order_relaxed); }
  const TickTimings& tickTimings() const { return timings_; }

  // The newest frame of every source that layers may name.
  const FrameSlotMap& sources;

  // Providers and sinks: assigned before start(), never changed while the clock runs.
  PlanProvider programPlanProvider;
  PlanProvider previewPlanProvider;
  PlanProvider verticalPlanProvider;
  PlanProvider verticalPreviewPlanProvider;
  PlanProvider studioPlanProvider;
  std::function<bool()> previewIsLive;
  std::function<bool()> verticalPreviewIsLive;
  FrameSink onProgramFrame;
  FrameSink onVerticalFrame;
  FrameSink vcamSink;
  std::function<void(double)> presenterTick;
  std::function<RenderPlan(RenderPlan)> presenterApply;
  MaskProvider maskProvider;

 private:
  struct Thumbnail;

  void tick(double now);
  void measureRate(double now);
  void applyCanvasSize();
  PixelBufferRef draw(CanvasPipeline& pipeline, GLCompositor& compositor, const RenderPlan& plan);
  PixelBufferRef downscaleForCamera(const PixelBufferRef& buffer);
  void renderThumbnails(double now);
  void store(PixelBufferRef& slot, const PixelBufferRef& buffer);

  GLContext& context_;
  std::unique_ptr<GLCompositor> compositor_;
  std::unique_ptr<GLCompositor> verticalCompositor_;
  std::unique_ptr<MonitorRenderer> scaler_;
  SourceTextureCache textures_;
  std::unique_ptr<FrameClock> clock_;

  // Render thread only.
  std::unique_ptr<CanvasPipeline> program_, preview_, vertical_, verticalPreview_, studio_, vcam_;
  std::map<Uuid, std::unique_ptr<CanvasPipeline>> thumbnails_;
  std::shared_ptr<const FrameSlotMap::Map> tickSources_;
  double lastRenderTime_ = 0;
  int fpsCount_ = 0;
  double fpsWindowStart_ = 0;

  std::atomic<int> canvasWidth_{1920};
  std::atomic<int> canvasHeight_{1080};
  std::atomic<bool> canvasChanged_{false};
  std::atomic<double> measuredFPS_{0};
  std::atomic<std::uint64_t> tickCount_{0};
  TickTimings timings_;

  // Guards the newest buffers and the thumbnail scenes; held only for a copy or an assignment.
  mutable std::mutex lock_;
  PixelBufferRef programPixelBuffer_, previewPixelBuffer_, verticalPixelBuffer_, verticalPreviewPixelBuffer_,
      studioPixelBuffer_;
  std::map<Uuid, MixerScene> auxScenes_;
  std::map<Uuid, MixerScene> verticalAuxScenes_;
  std::map<Uuid, PixelBufferRef> auxBuffers_;
};

}  // namespace tavorin

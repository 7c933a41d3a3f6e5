#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "base/FrameSlotMap.h"
#include "base/PixelBuffer.h"
#include "base/Uuid.h"
#include "compositor/Canvas.h"
#include "compositor/CanvasConsumers.h"
#include "compositor/CanvasPipeline.h"
#include "compositor/FrameClock.h"
#include "compositor/GLCompositor.h"
#include "compositor/MonitorOutputs.h"
#include "compositor/MonitorRenderer.h"
#include "compositor/Nv12Delivery.h"
#include "compositor/SourceTextureCache.h"
#include "compositor/TickTimings.h"
#include "model/MixerScene.h"
#include "model/RenderLayer.h"
#include "platform/gl/GLContext.h"

namespace tavorin {

// The frame clock: on each tick it asks the plan providers what to show,
// draws each canvas that someone consumes, keeps the newest frame of each for
// the monitors, and hands frames to the sinks. It knows no scenes or
// switchers, only closures, the sources map and who consumes what.
class CompositorEngine {
 public:
  using PlanProvider = std::function<RenderPlan(double now)>;
  using FrameSink = std::function<void(const FrameRef& frame)>;

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

  // Starts the clock thread for a display of `refreshRate`; a second call
  // does nothing. It ticks as fast as the consumers need, and rests while
  // there are none.
  void start(double refreshRate = 60.0);
  // Any thread: the display's (or the show's) rate changes; the clock never
  // ticks faster than it from the next refresh on. Not above zero: ignored.
  void setRefreshRate(double refreshRate);
  // Stops the clock; for quit and tests (the show itself never stops it).
  void stop();

  // The gate and the tick, as the clock calls them with the host time. Tests
  // call it directly with the context current on their own thread.
  void onRefresh(double now);

  // Main thread: the main canvas's size (the vertical canvas is fixed).
  void setCanvas(int width, int height);
  int canvasWidth() const { return canvasPixels_.load().width; }
  int canvasHeight() const { return canvasPixels_.load().height; }

  // What a canvas draws; a canvas without a provider is not drawn. For a
  // Preview canvas, `isLive` tells whether its switcher is in direct mode,
  // where Preview is what goes out and so takes the presenter's pass as
  // Program always does. Installed before start(), never while the clock runs.
  void setPlanProvider(Canvas canvas, PlanProvider provider, std::function<bool()> isLive = {});
  // Where a canvas's composed frames go, on the render thread, once per tick
  // while it shows something, stamped with the tick's time. Program's frames
  // also go to `vcamSink`, at 1080p.
  // Installed before start(), never while the clock runs.
  void setFrameSink(Canvas canvas, FrameSink sink);
  // A canvas's pictures as NV12 for a hardware encoder, every tick while it
  // shows something; an output with neither frames nor surfaces turns it off.
  // Installed before start(), never while the clock runs.
  void setNv12Output(Canvas canvas, Nv12Output output);

  // Thumbnails: horizontal layouts and vertical-only layouts by id.
  void setAuxScenes(std::map<Uuid, MixerScene> scenes, std::map<Uuid, MixerScene> verticalScenes);

  // Any thread: a consumer of the canvas's pictures at `rate` frames a second
  // (kEveryRefresh for a monitor), until it is removed. Only consumed
  // canvases are drawn, each on every tick, and the clock ticks at the
  // fastest consumer's rate, no faster than the display.
  using ConsumerID = CanvasConsumers::ID;
  static constexpr double kEveryRefresh = CanvasConsumers::kEveryRefresh;
  ConsumerID addConsumer(Canvas canvas, double rate);
  void removeConsumer(ConsumerID id);
  // Any thread: a monitor of the canvas, which ticks the clock at every
  // refresh and gets its own copy drawn at width × height pixels (its size on
  // screen). removeConsumer() drops it.
  ConsumerID addMonitor(Canvas canvas, int width, int height);
  void resizeMonitor(ConsumerID id, int width, int height);
  // The monitor's newest picture; empty before its first, or while its canvas shows nothing.
  MonitorPicture monitorPicture(ConsumerID id) const { return monitors_.picture(id); }
  // True when monitors get textures the window samples, false when they get pixels.
  bool sharesTextures() const { return monitors_.sharedTextures(); }
  // Ticks a second the consumers ask of the clock now; 0 while it rests.
  double clockRate() const;

  // Newest composed frames, each read as a retained reference; a canvas
  // nobody consumes holds none.
  FrameRef newestFrame(Canvas canvas) const;
  // Any thread but the render thread, for a one-off picture (a screenshot):
  // the canvas drawn by a tick after this call, even while nobody consumes
  // it. Null when it shows nothing, or when no tick came within `timeout`
  // seconds (the clock stopped).
  FrameRef drawnFrame(Canvas canvas, double timeout = 1.0);
  FrameRef auxBuffer(const Uuid& id) const;

  double measuredFPS() const { return measuredFPS_.load(std::memory_order_relaxed); }
  std::uint64_t tickCount() const { return tickCount_.load(std::memory_order_relaxed); }
  const TickTimings& tickTimings() const { return timings_; }

  // The newest frame of every source that layers may name.
  const FrameSlotMap& sources;

  // Assigned before start(), never changed while the clock runs.
  FrameSink vcamSink;
  std::function<void(double)> presenterTick;
  std::function<RenderPlan(RenderPlan)> presenterApply;
  MaskProvider maskProvider;

 private:
  // Width and height in one word: a tick never sees half of a change.
  struct CanvasPixels {
    int width = 0;
    int height = 0;
    bool operator==(const CanvasPixels&) const = default;
  };
  static_assert(std::atomic<CanvasPixels>::is_always_lock_free);

  struct CanvasSlot {
    PlanProvider provider;
    std::function<bool()> isLive;
    FrameSink sink;
    std::unique_ptr<CanvasPipeline> pipeline;  // render thread only
    std::unique_ptr<Nv12Delivery> nv12;        // render thread only once set
    FrameRef newest;                           // under lock_
    std::atomic<std::uint64_t> draws{0};       // ticks that drew it
    std::atomic<bool> showing{false};          // its last drawing showed something
    bool drawnLastTick = false;                // render thread only
  };

  void tick(double now);
  void drawCanvas(Canvas canvas, double now, bool readBack);
  void applyDemand();  // with consumersLock_ held
  void measureRate(double now);
  void applyCanvasSize();
  PixelBufferRef draw(CanvasPipeline& pipeline, GLCompositor& compositor, RenderPlan plan, bool readBack = true);
  PixelBufferRef downscaleForCamera(const PixelBufferRef& buffer);
  void renderThumbnails(double now);
  void store(FrameRef& slot, FrameRef frame);
  CanvasSlot& slotOf(Canvas canvas) { return canvases_[static_cast<std::size_t>(canvas)]; }

  GLContext& context_;
  std::unique_ptr<GLCompositor> compositor_;
  std::unique_ptr<GLCompositor> verticalCompositor_;
  std::unique_ptr<MonitorRenderer> scaler_;
  MonitorOutputs monitors_;
  std::unique_ptr<Nv12Converter> nv12Converter_;
  SourceTextureCache textures_;
  std::unique_ptr<FrameClock> clock_;
  bool clockDriven_ = false;  // set before the clock's thread starts

  std::array<CanvasSlot, kCanvasCount> canvases_;
  // Render thread only.
  std::unique_ptr<CanvasPipeline> vcam_;
  std::map<Uuid, std::unique_ptr<CanvasPipeline>> thumbnails_;
  std::shared_ptr<const FrameSlotMap::Map> tickSources_;
  double lastRenderTime_ = 0;
  int fpsCount_ = 0;
  double fpsWindowStart_ = 0;

  std::atomic<CanvasPixels> canvasPixels_;
  // Render thread only: the size read once at the start of a tick, which the compositor has.
  CanvasPixels tickCanvas_;
  // The consumed canvases, one bit each, as the render thread reads them.
  std::atomic<std::uint32_t> drawnCanvases_{0};
  // Those someone takes as pixels: only they are read back from the GPU.
  std::atomic<std::uint32_t> readCanvases_{0};
  // Guards the consumers and the clock's rate; never held around a tick.
  mutable std::mutex consumersLock_;
  CanvasConsumers consumers_;
  double refreshRate_ = 60.0;
  std::atomic<double> measuredFPS_{0};
  std::atomic<std::uint64_t> tickCount_{0};
  TickTimings timings_;

  // Guards each canvas's newest buffer and the thumbnails; held only for a copy or an assignment.
  mutable std::mutex lock_;
  std::map<Uuid, MixerScene> auxScenes_;
  std::map<Uuid, MixerScene> verticalAuxScenes_;
  std::map<Uuid, FrameRef> auxBuffers_;
};

}  // namespace tavorin

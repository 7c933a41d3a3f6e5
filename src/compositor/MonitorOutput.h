#pragma once

#include <array>
#include <deque>
#include <memory>
#include <optional>

#include "base/PixelBufferPool.h"
#include "compositor/FrameReadback.h"
#include "compositor/MonitorPicture.h"
#include "compositor/MonitorRenderer.h"
#include "compositor/RenderTarget.h"

namespace tavorin {

// One monitor's copy of its canvas, drawn on the render thread at the
// monitor's size, so the window never scales a full canvas. With shared
// textures it draws into a ring the window samples directly, guarded by
// fences both ways; without, it reads its small copy back for the window to
// upload. Never waits on the window: with every texture still held, the
// monitor misses a picture.
class MonitorOutput {
 public:
  static constexpr std::size_t kRing = 4;

  MonitorOutput(int width, int height, bool sharedTextures);
  ~MonitorOutput();
  MonitorOutput(const MonitorOutput&) = delete;
  MonitorOutput& operator=(const MonitorOutput&) = delete;

  int width() const { return width_; }
  int height() const { return height_; }

  // Draws the canvas's target into the monitor's copy, stamped `hostTime`,
  // when `drawnAnew` or the monitor has none yet. Returns the picture to
  // publish when it changed.
  std::optional<MonitorPicture> update(MonitorRenderer& scaler, const RenderTarget& canvas, bool drawnAnew,
                                       double hostTime);
  // The canvas shows nothing: an empty picture, once.
  std::optional<MonitorPicture> clear();

  // True once the window holds none of its textures: it may go.
  bool released() const;

 private:
  struct Slot {
    std::unique_ptr<RenderTarget> target;
    std::shared_ptr<MonitorTexture> picture;
  };

  std::optional<MonitorPicture> drawShared(MonitorRenderer& scaler, const RenderTarget& canvas, double hostTime);
  std::optional<MonitorPicture> drawImage(MonitorRenderer& scaler, const RenderTarget& canvas, bool drawnAnew,
                                          double hostTime);

  int width_;
  int height_;
  bool shared_;
  bool showing_ = false;
  std::array<Slot, kRing> ring_;
  std::size_t next_ = 0;
  // Without sharing: the copy, its readback and the times of the copies in flight.
  std::unique_ptr<RenderTarget> target_;
  std::unique_ptr<FrameReadback> readback_;
  std::unique_ptr<PixelBufferPool> pool_;
  std::deque<double> inFlight_;
  FrameRef newest_;
};

}  // namespace tavorin

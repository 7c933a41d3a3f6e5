#pragma once

#include <array>
#include <atomic>
#include <cstddef>

#include <epoxy/gl.h>

#include "base/PixelBufferPool.h"
#include "compositor/RenderTarget.h"
#include "platform/gl/GLObjects.h"

namespace tavorin {

// Copies composed frames from the GPU into pooled pixel buffers without
// stalling: each frame goes into a pixel-pack buffer with a fence, and is
// collected once the fence has passed, normally on the next tick.
class FrameReadback {
 public:
  static constexpr std::size_t kDepth = 3;

  FrameReadback(int width, int height);

  int width() const { return width_; }
  int height() const { return height_; }

  // Queues the copy of the target's pixels. When every slot is still in
  // flight the oldest is given up rather than waited for; returns false then.
  bool begin(const RenderTarget& target);

  // The oldest queued frame whose copy has finished, in a buffer from
  // `pool`; null when none has finished (or the pool is dry). With `wait`,
  // blocks until the oldest copy is done: for snapshots and tests, never the clock.
  PixelBufferRef collect(PixelBufferPool& pool, bool wait = false);

  std::size_t pendingCount() const { return pending_; }

  // Every collect() then waits for its copy, so a tick hands out the picture
  // it drew. For tests, which read each tick's picture at once: a software
  // rasteriser has it ready by then, a GPU not yet. Never for the clock.
  static void setCollectWaits(bool wait) { collectWaits_.store(wait, std::memory_order_relaxed); }

 private:
  struct Slot {
    GLBuffer packBuffer;
    GLsync fence = nullptr;
  };

  void release(Slot& slot);

  static inline std::atomic<bool> collectWaits_{false};

  int width_;
  int height_;
  std::size_t rowBytes_;
  std::array<Slot, kDepth> slots_;
  std::size_t oldest_ = 0;
  std::size_t pending_ = 0;
};

}  // namespace tavorin

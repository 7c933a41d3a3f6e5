#pragma once

#include <array>
#include <cstddef>

#include <epoxy/gl.h>

#include "base/Nv12FramePool.h"
#include "compositor/Nv12Converter.h"
#include "platform/gl/GLObjects.h"

namespace tavorin {

// NV12 planes of one size that the converter draws into, copied to the CPU
// without stalling as FrameReadback copies BGRA: each copy goes into a
// pixel-pack buffer with a fence and is collected once the fence has passed,
// into a pooled frame. 1.5 bytes a pixel cross the bus, and the CPU converts
// no colour. Render thread only, with the context current.
class Nv12Readback {
 public:
  static constexpr std::size_t kDepth = 3;

  Nv12Readback(int width, int height);
  ~Nv12Readback();
  Nv12Readback(const Nv12Readback&) = delete;
  Nv12Readback& operator=(const Nv12Readback&) = delete;

  int width() const { return pool_.width(); }
  int height() const { return pool_.height(); }

  // Queues the copy of `canvas` (of this size) as NV12 stamped with
  // `hostTime`. The planes are drawn again only when `redrawn` or when they
  // hold another canvas; an unchanged picture is just copied again. When
  // every slot is in flight the oldest is given up rather than waited for;
  // returns false then.
  bool queue(Nv12Converter& converter, const LayerTexture& canvas, bool redrawn, double hostTime);

  // The oldest queued copy that has finished, in a pooled frame; null when
  // none has (or the pool is dry). With `wait`, blocks for the oldest: for
  // snapshots and tests, never the clock.
  Nv12FrameRef collect(bool wait = false);

  std::size_t pendingCount() const { return pending_; }

 private:
  struct Slot {
    GLBuffer packBuffer;
    GLsync fence = nullptr;
    double hostTime = 0;
  };

  static void release(Slot& slot);

  Nv12FramePool pool_;
  GLTexture lumaTexture_;
  GLTexture chromaTexture_;
  GLFramebuffer luma_;
  GLFramebuffer chroma_;
  std::size_t lumaStride_;
  std::size_t chromaStride_;
  std::size_t byteCount_;
  std::array<Slot, kDepth> slots_;
  std::size_t oldest_ = 0;
  std::size_t pending_ = 0;
  GLuint drawnFrom_ = 0;  // the canvas texture the planes hold, 0 for none
};

}  // namespace tavorin

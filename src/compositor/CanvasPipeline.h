#pragma once

#include <cstdint>
#include <vector>

#include "base/FrameSlotMap.h"
#include "base/PixelBufferPool.h"
#include "compositor/FrameReadback.h"
#include "compositor/GLCompositor.h"
#include "compositor/RenderTarget.h"
#include "compositor/SourceTextureCache.h"

namespace tavorin {

// One canvas on the render thread: its target, readback and pool, and what
// it drew last. A plan equal to the last one over the very same source
// frames cannot change the picture, so it is not drawn again: the newest
// composed buffer is handed out once more, by reference.
class CanvasPipeline {
 public:
  CanvasPipeline(int width, int height, std::size_t minimumBuffers = PixelBufferPool::kMinimumBufferCount);

  int width() const { return target_.width(); }
  int height() const { return target_.height(); }

  // Draws the plan (or skips it) and returns the newest composed buffer,
  // which may be the previous tick's while the GPU finishes this one. Null
  // for an empty plan or before a first frame is ready. Without `readBack`
  // the picture stays on the GPU (for monitors) and null is returned; it is
  // read back when next asked, drawn anew or not.
  PixelBufferRef produce(GLCompositor& compositor, RenderPlan plan, const FrameSlotMap::Map& sources,
                         SourceTextureCache& cache, const MaskProvider& maskProvider, bool readBack = true);

  // The target of the last drawing, for a second pass over the same picture.
  const RenderTarget& target() const { return target_; }
  // For a target drawn by someone else: reads it back when `drawnAnew`, and
  // returns the newest finished frame.
  PixelBufferRef readTarget(bool drawnAnew);
  // True when the last produce() drew rather than reused.
  bool drewLastTime() const { return drew_; }
  // True when the target holds the last plan's picture.
  bool hasPicture() const { return valid_; }
  // When the last produce() took its source frames: no picture in them is newer.
  double gatheredAt() const { return gatheredAt_; }
  // Forgets the last picture: the next plan is drawn whatever it is.
  void invalidate();

 private:
  void gatherFrames(const RenderPlan& plan, const FrameSlotMap::Map& sources);
  void collectFinished();

  RenderTarget target_;
  FrameReadback readback_;
  PixelBufferPool pool_;
  RenderPlan lastPlan_;
  std::vector<std::uint64_t> lastGenerations_;
  // This tick's frames, one per layer of the plan, and their generations.
  std::vector<FrameRef> frames_;
  std::vector<std::uint64_t> generations_;
  PixelBufferRef newest_;
  // Set for the span of one drawing, so the provider captures only `this`.
  SourceTextureCache* cache_ = nullptr;
  const RenderLayer* firstLayer_ = nullptr;
  bool drew_ = false;
  bool valid_ = false;
  bool unread_ = false;  // the target holds a picture not yet read back
  double gatheredAt_ = 0;
};

}  // namespace tavorin

#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "base/Nv12Frame.h"

namespace tavorin {

// Recycles NV12 frames of one size, as PixelBufferPool does pixel buffers: a
// frame is free again once nobody but the pool holds it, so acquiring
// allocates nothing in the steady state. Thread-safe.
class Nv12FramePool {
 public:
  static constexpr std::size_t kMinimumFrameCount = 4;

  Nv12FramePool(int width, int height, std::size_t minimumCount = kMinimumFrameCount, std::size_t maximumCount = 64);

  int width() const { return width_; }
  int height() const { return height_; }

  // A frame nobody else holds, its planes as last written. Null when every
  // frame is taken and the pool is at its maximum, or memory can't be had.
  std::shared_ptr<Nv12Frame> acquire();

  std::size_t frameCount() const;

 private:
  int width_;
  int height_;
  std::size_t maximumCount_;
  mutable std::mutex mutex_;
  std::vector<std::shared_ptr<Nv12Frame>> frames_;
};

}  // namespace tavorin

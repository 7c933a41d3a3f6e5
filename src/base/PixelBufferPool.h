#pragma once

#include <algorithm>
#include <cstddef>
#include <mutex>
#include <vector>

#include "base/PixelBuffer.h"

namespace tavorin {

// Recycles pixel buffers of one size. A buffer is free again once nobody but
// the pool holds it, so consumers simply drop their reference; in the steady
// state acquiring allocates nothing. Thread-safe.
class PixelBufferPool {
 public:
  static constexpr std::size_t kMinimumBufferCount = 4;

  PixelBufferPool(int width, int height, std::size_t minimumCount = kMinimumBufferCount,
                  std::size_t maximumCount = 64);

  int width() const { return width_; }
  int height() const { return height_; }

  // A buffer nobody else holds, with a fresh generation; its pixels are
  // whatever was last written. Null when every buffer is taken and the pool
  // is at its maximum, or memory can't be had.
  PixelBufferRef acquire();

  std::size_t bufferCount() const;

 private:
  int width_;
  int height_;
  std::size_t maximumCount_;
  mutable std::mutex mutex_;
  std::vector<PixelBufferRef> buffers_;
};

}  // namespace tavorin

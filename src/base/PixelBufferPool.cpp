#include "base/PixelBufferPool.h"

#include <atomic>

namespace tavorin {

PixelBufferPool::PixelBufferPool(int width, int height, std::size_t minimumCount,
                                 std::size_t maximumCount)
    : width_(width), height_(height), maximumCount_(std::max(maximumCount, minimumCount)) {
  buffers_.reserve(maximumCount_);
  for (std::size_t i = 0; i < minimumCount; ++i) {
    auto buffer = PixelBuffer::make(width, height);
    if (!buffer) break;
    buffers_.push_back(std::move(buffer));
  }
}

PixelBufferRef PixelBufferPool::acquire() {
  std::lock_guard lock(mutex_);
  for (auto& buffer : buffers_) {
    // Only the pool hands out references and it does so under the mutex, so
    // a count of one cannot rise behind our back.
    if (buffer.use_count() == 1) {
      std::atomic_thread_fence(std::memory_order_acquire);
      buffer->markRewritten();
      return buffer;
    }
  }
  if (buffers_.size() >= maximumCount_) return nullptr;
  auto buffer = PixelBuffer::make(width_, height_);
  if (!buffer) return nullptr;
  buffers_.push_back(buffer);
  return buffer;
}

std::size_t PixelBufferPool::bufferCount() const {
  std::lock_guard lock(mutex_);
  return buffers_.size();
}

}  // namespace tavorin

#include "base/Nv12FramePool.h"

#include <algorithm>
#include <atomic>

namespace tavorin {

Nv12FramePool::Nv12FramePool(int width, int height, std::size_t minimumCount, std::size_t maximumCount)
    : width_(width), height_(height), maximumCount_(std::max(maximumCount, minimumCount)) {
  frames_.reserve(maximumCount_);
  for (std::size_t i = 0; i < minimumCount; ++i) {
    auto frame = Nv12Frame::make(width, height);
    if (!frame) break;
    frames_.push_back(std::move(frame));
  }
}

std::shared_ptr<Nv12Frame> Nv12FramePool::acquire() {
  std::lock_guard lock(mutex_);
  for (auto& frame : frames_) {
    // Only the pool hands out references, under the mutex, so a count of one
    // cannot rise behind our back.
    if (frame.use_count() == 1) {
      std::atomic_thread_fence(std::memory_order_acquire);
      return frame;
    }
  }
  if (frames_.size() >= maximumCount_) return nullptr;
  auto frame = Nv12Frame::make(width_, height_);
  if (!frame) return nullptr;
  frames_.push_back(frame);
  return frame;
}

std::size_t Nv12FramePool::frameCount() const {
  std::lock_guard lock(mutex_);
  return frames_.size();
}

}  // namespace tavorin

#include "compositor/FrameReadback.h"

#include <cstring>

namespace tavorin {

FrameReadback::FrameReadback(int width, int height)
    : width_(width), height_(height), rowBytes_(PixelBuffer::rowBytesFor(width)) {
  for (Slot& slot : slots_) {
    slot.packBuffer = makeBuffer();
    glBindBuffer(GL_PIXEL_PACK_BUFFER, slot.packBuffer.get());
    glBufferData(GL_PIXEL_PACK_BUFFER, static_cast<GLsizeiptr>(rowBytes_ * height_), nullptr, GL_STREAM_READ);
  }
  glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
}

void FrameReadback::release(Slot& slot) {
  if (slot.fence != nullptr) glDeleteSync(slot.fence);
  slot.fence = nullptr;
}

bool FrameReadback::begin(const RenderTarget& target) {
  const bool kept = pending_ < kDepth;
  if (!kept) {
    release(slots_[oldest_]);
    oldest_ = (oldest_ + 1) % kDepth;
    --pending_;
  }
  Slot& slot = slots_[(oldest_ + pending_) % kDepth];
  glBindFramebuffer(GL_READ_FRAMEBUFFER, target.framebuffer());
  glBindBuffer(GL_PIXEL_PACK_BUFFER, slot.packBuffer.get());
  glPixelStorei(GL_PACK_ALIGNMENT, 4);
  glPixelStorei(GL_PACK_ROW_LENGTH, static_cast<GLint>(rowBytes_ / 4));
  // The target stores B, G, R, A bytes in its "rgba" channels, so this is
  // already the pixel buffer's layout.
  glReadPixels(0, 0, width_, height_, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
  glPixelStorei(GL_PACK_ROW_LENGTH, 0);
  glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
  slot.fence = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
  glFlush();
  ++pending_;
  return kept;
}

PixelBufferRef FrameReadback::collect(PixelBufferPool& pool, bool wait) {
  if (pending_ == 0) return nullptr;
  Slot& slot = slots_[oldest_];
  if (!fencePassed(slot.fence, wait || collectWaits_.load(std::memory_order_relaxed))) return nullptr;
  release(slot);
  oldest_ = (oldest_ + 1) % kDepth;
  --pending_;

  PixelBufferRef buffer = pool.acquire();
  if (!buffer || buffer->width() != width_ || buffer->height() != height_) return nullptr;
  glBindBuffer(GL_PIXEL_PACK_BUFFER, slot.packBuffer.get());
  const auto bytes = static_cast<GLsizeiptr>(rowBytes_ * height_);
  const void* mapped = glMapBufferRange(GL_PIXEL_PACK_BUFFER, 0, bytes, GL_MAP_READ_BIT);
  if (mapped != nullptr) {
    std::memcpy(buffer->data(), mapped, static_cast<std::size_t>(bytes));
    glUnmapBuffer(GL_PIXEL_PACK_BUFFER);
  }
  glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
  return mapped != nullptr ? buffer : nullptr;
}

}  // namespace tavorin

#include "compositor/Nv12Readback.h"

#include <cstdint>
#include <cstring>

namespace tavorin {

namespace {

GLTexture makePlaneTexture(GLenum format, GLenum layout, int width, int height) {
  GLTexture texture = makeTexture();
  glBindTexture(GL_TEXTURE_2D, texture.get());
  glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(format), width, height, 0, layout, GL_UNSIGNED_BYTE, nullptr);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
  glBindTexture(GL_TEXTURE_2D, 0);
  return texture;
}

GLFramebuffer framebufferOver(const GLTexture& texture) {
  GLFramebuffer framebuffer = makeFramebuffer();
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer.get());
  glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture.get(), 0);
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  return framebuffer;
}

}  // namespace

Nv12Readback::Nv12Readback(int width, int height)
    : pool_(width, height),
      lumaTexture_(makePlaneTexture(GL_R8, GL_RED, width, height)),
      chromaTexture_(makePlaneTexture(GL_RG8, GL_RG, (width + 1) / 2, (height + 1) / 2)),
      luma_(framebufferOver(lumaTexture_)),
      chroma_(framebufferOver(chromaTexture_)),
      lumaStride_(Nv12Frame::lumaStrideFor(width)),
      chromaStride_(Nv12Frame::chromaStrideFor(width)),
      // The copy lands in the very layout of an Nv12Frame, so collecting it is one memcpy.
      byteCount_(lumaStride_ * static_cast<std::size_t>(height) +
                 chromaStride_ * static_cast<std::size_t>((height + 1) / 2)) {
  for (Slot& slot : slots_) {
    slot.packBuffer = makeBuffer();
    glBindBuffer(GL_PIXEL_PACK_BUFFER, slot.packBuffer.get());
    glBufferData(GL_PIXEL_PACK_BUFFER, static_cast<GLsizeiptr>(byteCount_), nullptr, GL_STREAM_READ);
  }
  glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
}

Nv12Readback::~Nv12Readback() {
  for (Slot& slot : slots_) release(slot);
}

void Nv12Readback::release(Slot& slot) {
  if (slot.fence != nullptr) glDeleteSync(slot.fence);
  slot.fence = nullptr;
}

bool Nv12Readback::queue(Nv12Converter& converter, const LayerTexture& canvas, bool redrawn, double hostTime) {
  if (redrawn || drawnFrom_ != canvas.texture) {
    converter.draw(canvas, {luma_.get(), chroma_.get(), width(), height()});
    drawnFrom_ = canvas.texture;
  }
  const bool kept = pending_ < kDepth;
  if (!kept) {
    release(slots_[oldest_]);
    oldest_ = (oldest_ + 1) % kDepth;
    --pending_;
  }
  Slot& slot = slots_[(oldest_ + pending_) % kDepth];
  glBindBuffer(GL_PIXEL_PACK_BUFFER, slot.packBuffer.get());
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, luma_.get());
  glPixelStorei(GL_PACK_ROW_LENGTH, static_cast<GLint>(lumaStride_));
  glReadPixels(0, 0, width(), height(), GL_RED, GL_UNSIGNED_BYTE, nullptr);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, chroma_.get());
  glPixelStorei(GL_PACK_ROW_LENGTH, static_cast<GLint>(chromaStride_ / 2));
  const auto chromaOffset = static_cast<std::uintptr_t>(lumaStride_ * static_cast<std::size_t>(height()));
  glReadPixels(0, 0, (width() + 1) / 2, (height() + 1) / 2, GL_RG, GL_UNSIGNED_BYTE,
               reinterpret_cast<void*>(chromaOffset));
  glPixelStorei(GL_PACK_ROW_LENGTH, 0);
  glPixelStorei(GL_PACK_ALIGNMENT, 4);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
  glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
  slot.fence = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
  slot.hostTime = hostTime;
  glFlush();
  ++pending_;
  return kept;
}

Nv12FrameRef Nv12Readback::collect(bool wait) {
  if (pending_ == 0) return nullptr;
  Slot& slot = slots_[oldest_];
  if (!fencePassed(slot.fence, wait)) return nullptr;
  release(slot);
  oldest_ = (oldest_ + 1) % kDepth;
  --pending_;

  std::shared_ptr<Nv12Frame> frame = pool_.acquire();
  if (!frame) return nullptr;
  glBindBuffer(GL_PIXEL_PACK_BUFFER, slot.packBuffer.get());
  const void* mapped = glMapBufferRange(GL_PIXEL_PACK_BUFFER, 0, static_cast<GLsizeiptr>(byteCount_), GL_MAP_READ_BIT);
  if (mapped != nullptr) {
    std::memcpy(frame->data(), mapped, byteCount_);
    glUnmapBuffer(GL_PIXEL_PACK_BUFFER);
    frame->setHostTime(slot.hostTime);
  }
  glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
  return mapped != nullptr ? frame : nullptr;
}

}  // namespace tavorin

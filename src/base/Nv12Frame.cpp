#include "base/Nv12Frame.h"

#include <cstdlib>

namespace tavorin {

namespace {

std::size_t alignedRow(int length) {
  const std::size_t bytes = static_cast<std::size_t>(length > 0 ? length : 0);
  return (bytes + Nv12Frame::kRowAlignment - 1) / Nv12Frame::kRowAlignment * Nv12Frame::kRowAlignment;
}

}  // namespace

Nv12Frame::Nv12Frame(int width, int height)
    : width_(width > 0 ? width : 0),
      height_(height > 0 ? height : 0),
      lumaStride_(lumaStrideFor(width_)),
      chromaStride_(chromaStrideFor(width_)) {
  if (width_ == 0 || height_ == 0) return;
  data_ = static_cast<std::uint8_t*>(std::aligned_alloc(kRowAlignment, byteCount()));
}

Nv12Frame::~Nv12Frame() { std::free(data_); }

std::size_t Nv12Frame::lumaStrideFor(int width) { return alignedRow(width); }

// Two bytes, Cb and Cr, for every second column.
std::size_t Nv12Frame::chromaStrideFor(int width) { return alignedRow((width + 1) / 2 * 2); }

std::size_t Nv12Frame::byteCount() const {
  return lumaStride_ * static_cast<std::size_t>(height_) + chromaStride_ * static_cast<std::size_t>(chromaHeight());
}

std::shared_ptr<Nv12Frame> Nv12Frame::make(int width, int height) {
  auto frame = std::make_shared<Nv12Frame>(width, height);
  if (!frame->valid()) return nullptr;
  return frame;
}

}  // namespace tavorin

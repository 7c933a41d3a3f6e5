#include "base/PixelBuffer.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace tavorin {

namespace {

std::uint64_t nextGeneration() {
  static std::atomic<std::uint64_t> counter{0};
  return counter.fetch_add(1, std::memory_order_relaxed) + 1;
}

}  // namespace

PixelBuffer::PixelBuffer(int width, int height)
    : width_(width > 0 ? width : 0),
      height_(height > 0 ? height : 0),
      bytesPerRow_(rowBytesFor(width_)),
      generation_(nextGeneration()) {
  if (width_ == 0 || height_ == 0) return;
  data_ = static_cast<std::uint8_t*>(std::aligned_alloc(kRowAlignment, byteCount()));
}

PixelBuffer::~PixelBuffer() { std::free(data_); }

std::size_t PixelBuffer::rowBytesFor(int width) {
  const std::size_t bytes = static_cast<std::size_t>(width > 0 ? width : 0) * 4;
  return (bytes + kRowAlignment - 1) / kRowAlignment * kRowAlignment;
}

std::shared_ptr<PixelBuffer> PixelBuffer::make(int width, int height) {
  auto buffer = std::make_shared<PixelBuffer>(width, height);
  if (!buffer->valid()) return nullptr;
  return buffer;
}

void PixelBuffer::markRewritten() { generation_ = nextGeneration(); }

void PixelBuffer::fill(std::uint8_t b, std::uint8_t g, std::uint8_t r, std::uint8_t a) {
  const std::uint32_t value = std::uint32_t(b) | std::uint32_t(g) << 8 |
                              std::uint32_t(r) << 16 | std::uint32_t(a) << 24;
  for (int y = 0; y < height_; ++y) {
    auto* px = row(y);
    for (int x = 0; x < width_; ++x) std::memcpy(px + 4 * x, &value, 4);
  }
}

}  // namespace tavorin

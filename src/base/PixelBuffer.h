#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace tavorin {

// A 32-bit BGRA image with premultiplied alpha and the host time it shows.
// Rows start on 64-byte boundaries so that SIMD copies and GPU uploads never
// straddle a row. Its producer writes it, stamps it and publishes it as a
// FrameRef; from then on it is shared by reference and nobody writes its
// pixels. The time alone may move on: the compositor hands an unchanged
// picture on again with each tick's time, so a consumer reads the time when
// it takes the frame.
class PixelBuffer {
 public:
  static constexpr std::size_t kRowAlignment = 64;

  PixelBuffer(int width, int height);
  ~PixelBuffer();
  PixelBuffer(const PixelBuffer&) = delete;
  PixelBuffer& operator=(const PixelBuffer&) = delete;

  // Null when the size is not positive or memory can't be had.
  static std::shared_ptr<PixelBuffer> make(int width, int height);
  // Bytes per row of a buffer of this width.
  static std::size_t rowBytesFor(int width);

  int width() const { return width_; }
  int height() const { return height_; }
  std::size_t bytesPerRow() const { return bytesPerRow_; }
  std::size_t byteCount() const { return bytesPerRow_ * static_cast<std::size_t>(height_); }
  bool valid() const { return data_ != nullptr; }

  std::uint8_t* data() { return data_; }
  const std::uint8_t* data() const { return data_; }
  std::uint8_t* row(int y) { return data_ + bytesPerRow_ * static_cast<std::size_t>(y); }
  const std::uint8_t* row(int y) const { return data_ + bytesPerRow_ * static_cast<std::size_t>(y); }

  // Changes every time the contents are (re)written from a pool, so a
  // consumer can tell a new picture from the one it has already seen even
  // when the same memory comes back.
  std::uint64_t generation() const { return generation_; }
  void markRewritten();

  // Host seconds of the moment the picture shows (capture or composition).
  double hostTime() const { return hostTime_.load(std::memory_order_relaxed); }
  void setHostTime(double seconds) { hostTime_.store(seconds, std::memory_order_relaxed); }

  // Fills every pixel with one premultiplied BGRA value.
  void fill(std::uint8_t b, std::uint8_t g, std::uint8_t r, std::uint8_t a);

 private:
  int width_;
  int height_;
  std::size_t bytesPerRow_;
  std::uint8_t* data_ = nullptr;
  std::uint64_t generation_;
  std::atomic<double> hostTime_{0};
};

// A buffer its producer still writes.
using PixelBufferRef = std::shared_ptr<PixelBuffer>;
// A published frame: read-only, its time inside.
using FrameRef = std::shared_ptr<const PixelBuffer>;

}  // namespace tavorin

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace tavorin {

// A picture in NV12, as hardware video encoders take it: a full-size plane of
// luma (Y) followed by a half-size plane of interleaved Cb, Cr pairs, BT.709
// limited range, with the host time it shows. Both planes sit in one block,
// the chroma plane right after the last luma row, and every row starts on a
// 64-byte boundary. Written by its producer, then shared read-only.
class Nv12Frame {
 public:
  static constexpr std::size_t kRowAlignment = 64;

  Nv12Frame(int width, int height);
  ~Nv12Frame();
  Nv12Frame(const Nv12Frame&) = delete;
  Nv12Frame& operator=(const Nv12Frame&) = delete;

  // Null when the size is not positive or memory can't be had.
  static std::shared_ptr<Nv12Frame> make(int width, int height);
  // Bytes per row of each plane of a frame of this width.
  static std::size_t lumaStrideFor(int width);
  static std::size_t chromaStrideFor(int width);

  int width() const { return width_; }
  int height() const { return height_; }
  // Cb, Cr pairs per chroma row and chroma rows: half the picture, rounded up.
  int chromaWidth() const { return (width_ + 1) / 2; }
  int chromaHeight() const { return (height_ + 1) / 2; }
  std::size_t lumaStride() const { return lumaStride_; }
  std::size_t chromaStride() const { return chromaStride_; }
  // Both planes together, as one copy fills them.
  std::size_t byteCount() const;
  bool valid() const { return data_ != nullptr; }

  std::uint8_t* data() { return data_; }
  const std::uint8_t* data() const { return data_; }
  std::uint8_t* lumaRow(int y) { return data_ + lumaStride_ * static_cast<std::size_t>(y); }
  const std::uint8_t* lumaRow(int y) const { return data_ + lumaStride_ * static_cast<std::size_t>(y); }
  std::uint8_t* chromaRow(int y) { return chroma() + chromaStride_ * static_cast<std::size_t>(y); }
  const std::uint8_t* chromaRow(int y) const { return chroma() + chromaStride_ * static_cast<std::size_t>(y); }

  double hostTime() const { return hostTime_; }
  void setHostTime(double seconds) { hostTime_ = seconds; }

 private:
  std::uint8_t* chroma() const { return data_ + lumaStride_ * static_cast<std::size_t>(height_); }

  int width_;
  int height_;
  std::size_t lumaStride_;
  std::size_t chromaStride_;
  std::uint8_t* data_ = nullptr;
  double hostTime_ = 0;
};

// A published NV12 picture: read-only, its time inside.
using Nv12FrameRef = std::shared_ptr<const Nv12Frame>;

}  // namespace tavorin

#pragma once

#include <cstddef>
#include <cstdint>

#include "base/PixelBuffer.h"

namespace tavorin {

// 32-bit BGRA (or BGRX) pixels someone else owns: an XShm image, a canvas, a frame.
struct ImageView {
  std::uint8_t* data = nullptr;
  int width = 0;
  int height = 0;
  std::size_t stride = 0;  // bytes per row

  std::uint32_t* row(int y) const { return reinterpret_cast<std::uint32_t*>(data + stride * static_cast<std::size_t>(y)); }
  static ImageView of(PixelBuffer& buffer) {
    return {buffer.data(), buffer.width(), buffer.height(), buffer.bytesPerRow()};
  }
};

// How the alpha byte of a picture is to be read.
enum class AlphaMode {
  ignored,        // BGRX: the picture is opaque whatever the byte says
  premultiplied,  // BGRA with premultiplied alpha
};

// `source` (same size as `target`) into `target`, alpha set to 255 when ignored.
void copyPixels(const ImageView& source, AlphaMode mode, const ImageView& target);

// `source` placed with its top-left at (x, y) of `target`, clipped to it:
// replacing what is there when opaque, over it when premultiplied.
void drawPixels(const ImageView& source, AlphaMode mode, const ImageView& target, int x, int y);

void clearPixels(const ImageView& target, std::uint32_t value);

}  // namespace tavorin

#pragma once

#include <vector>

#include "base/PixelBuffer.h"

namespace tavorin::bench {

// A moving picture: `count` different BGRA frames, so an encoder has real work.
inline std::vector<PixelBufferRef> movingFrames(int width, int height, int count) {
  std::vector<PixelBufferRef> list;
  for (int f = 0; f < count; ++f) {
    auto frame = PixelBuffer::make(width, height);
    for (int y = 0; y < height; ++y) {
      std::uint8_t* row = frame->row(y);
      for (int x = 0; x < width; ++x) {
        row[4 * x] = static_cast<std::uint8_t>((x + f * 16) & 0xFF);
        row[4 * x + 1] = static_cast<std::uint8_t>((y * 2 + f * 8) & 0xFF);
        row[4 * x + 2] = static_cast<std::uint8_t>(((x ^ y) + f * 4) & 0xFF);
        row[4 * x + 3] = 255;
      }
    }
    list.push_back(frame);
  }
  return list;
}

}  // namespace tavorin::bench

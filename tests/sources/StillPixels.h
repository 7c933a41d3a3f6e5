#pragma once

#include <cstdint>
#include <cstring>

#include "base/PixelBuffer.h"

namespace tavorin::testing {

struct Bgra {
  std::uint8_t b, g, r, a;
};

// The pixel at (x, y) with y counted upward from the bottom row, as the titles and shapes draw.
inline Bgra pixelUp(const PixelBuffer& picture, int x, int y) {
  Bgra p{};
  std::memcpy(&p, picture.row(picture.height() - 1 - y) + 4 * x, 4);
  return p;
}

inline bool samePixels(const PixelBuffer& a, const PixelBuffer& b) {
  if (a.width() != b.width() || a.height() != b.height()) return false;
  for (int y = 0; y < a.height(); ++y) {
    if (std::memcmp(a.row(y), b.row(y), static_cast<std::size_t>(a.width()) * 4) != 0) return false;
  }
  return true;
}

}  // namespace tavorin::testing

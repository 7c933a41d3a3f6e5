#include "platform/x11/ImageView.h"

#include <algorithm>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace tavorin {
namespace {

constexpr std::uint32_t kOpaque = 0xff000000u;

// Premultiplied "over" on one BGRA pixel, channel pairs at a time.
inline std::uint32_t over(std::uint32_t source, std::uint32_t target) {
  const std::uint32_t alpha = source >> 24;
  if (alpha == 255) return source;
  if (alpha == 0) return target;
  const std::uint32_t keep = 255 - alpha;
  std::uint32_t rb = (target & 0x00ff00ffu) * keep + 0x00800080u;
  std::uint32_t ag = ((target >> 8) & 0x00ff00ffu) * keep + 0x00800080u;
  rb = ((rb + ((rb >> 8) & 0x00ff00ffu)) >> 8) & 0x00ff00ffu;
  ag = (ag + ((ag >> 8) & 0x00ff00ffu)) & 0xff00ff00u;
  return source + (rb | ag);
}

}  // namespace

void copyPixels(const ImageView& source, AlphaMode mode, const ImageView& target) {
  const int width = std::min(source.width, target.width);
  const int height = std::min(source.height, target.height);
  for (int y = 0; y < height; ++y) {
    const std::uint32_t* in = source.row(y);
    std::uint32_t* out = target.row(y);
    if (mode == AlphaMode::premultiplied) {
      std::memcpy(out, in, static_cast<std::size_t>(width) * 4);
      continue;
    }
    int x = 0;
#if defined(__SSE2__)
    // Four pixels an instruction, so forcing alpha costs about what copying does.
    const __m128i opaque = _mm_set1_epi32(static_cast<int>(kOpaque));
    for (; x + 4 <= width; x += 4) {
      const __m128i pixels = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + x));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), _mm_or_si128(pixels, opaque));
    }
#endif
    for (; x < width; ++x) out[x] = in[x] | kOpaque;
  }
}

void drawPixels(const ImageView& source, AlphaMode mode, const ImageView& target, int x, int y) {
  const int left = std::max(0, -x), top = std::max(0, -y);
  const int right = std::min(source.width, target.width - x);
  const int bottom = std::min(source.height, target.height - y);
  for (int row = top; row < bottom; ++row) {
    const std::uint32_t* in = source.row(row);
    std::uint32_t* out = target.row(row + y) + x;
    for (int column = left; column < right; ++column) {
      out[column] = mode == AlphaMode::ignored ? in[column] | kOpaque : over(in[column], out[column]);
    }
  }
}

void clearPixels(const ImageView& target, std::uint32_t value) {
  for (int y = 0; y < target.height; ++y) std::fill_n(target.row(y), target.width, value);
}

}  // namespace tavorin

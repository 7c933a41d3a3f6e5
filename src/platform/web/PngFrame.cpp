#include "platform/web/PngFrame.h"

#include <openssl/evp.h>
#include <spng.h>

#include <cstdint>
#include <vector>

namespace tavorin {

namespace {

constexpr std::uint32_t kMaxSide = 4096;

bool decodeBase64(std::string_view text, std::vector<unsigned char>& out) {
  if (text.empty() || text.size() % 4 != 0) return false;
  out.resize(text.size() / 4 * 3);
  int n = EVP_DecodeBlock(out.data(), reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
  if (n < 0) return false;
  std::size_t padding = (text.back() == '=') + (text.size() > 1 && text[text.size() - 2] == '=');
  out.resize(static_cast<std::size_t>(n) - padding);
  return true;
}

// RGBA straight → BGRA premultiplied, rounding to nearest.
void premultiplyRow(const std::uint8_t* rgba, std::uint8_t* bgra, std::uint32_t width) {
  for (std::uint32_t x = 0; x < width; ++x, rgba += 4, bgra += 4) {
    unsigned a = rgba[3];
    if (a == 255) {
      bgra[0] = rgba[2];
      bgra[1] = rgba[1];
      bgra[2] = rgba[0];
    } else {
      bgra[0] = static_cast<std::uint8_t>((rgba[2] * a + 127) / 255);
      bgra[1] = static_cast<std::uint8_t>((rgba[1] * a + 127) / 255);
      bgra[2] = static_cast<std::uint8_t>((rgba[0] * a + 127) / 255);
    }
    bgra[3] = static_cast<std::uint8_t>(a);
  }
}

struct SpngContext {
  // The PNG comes from our own browser over a pipe: its checksums are not worth computing.
  spng_ctx* ctx = spng_ctx_new(SPNG_CTX_IGNORE_ADLER32);
  ~SpngContext() { spng_ctx_free(ctx); }
};

}  // namespace

PixelBufferRef decodePngFrame(std::string_view base64, std::shared_ptr<PixelBufferPool>& pool) {
  thread_local std::vector<unsigned char> png;
  thread_local std::vector<std::uint8_t> row;
  if (!decodeBase64(base64, png)) return nullptr;
  SpngContext context;
  if (!context.ctx) return nullptr;
  spng_set_crc_action(context.ctx, SPNG_CRC_USE, SPNG_CRC_USE);
  spng_set_image_limits(context.ctx, kMaxSide, kMaxSide);
  if (spng_set_png_buffer(context.ctx, png.data(), png.size()) != 0) return nullptr;
  spng_ihdr header{};
  if (spng_get_ihdr(context.ctx, &header) != 0 || header.width < 1 || header.height < 1) return nullptr;
  // Browsers never interlace what they encode for speed; rows then come whole and in order.
  if (header.interlace_method != SPNG_INTERLACE_NONE) return nullptr;
  const int width = static_cast<int>(header.width);
  const int height = static_cast<int>(header.height);
  if (!pool || pool->width() != width || pool->height() != height) {
    pool = std::make_shared<PixelBufferPool>(width, height);
  }
  PixelBufferRef buffer = pool->acquire();
  if (!buffer) return nullptr;
  std::size_t rowBytes = static_cast<std::size_t>(width) * 4;
  if (spng_decode_image(context.ctx, nullptr, 0, SPNG_FMT_RGBA8, SPNG_DECODE_PROGRESSIVE) != 0) return nullptr;
  row.resize(rowBytes);
  for (;;) {
    spng_row_info info{};
    if (spng_get_row_info(context.ctx, &info) != 0) break;
    int rc = spng_decode_row(context.ctx, row.data(), rowBytes);
    if (rc != 0 && rc != SPNG_EOI) return nullptr;
    if (info.row_num < header.height) premultiplyRow(row.data(), buffer->row(static_cast<int>(info.row_num)), header.width);
    if (rc == SPNG_EOI) break;
  }
  return buffer;
}

}  // namespace tavorin

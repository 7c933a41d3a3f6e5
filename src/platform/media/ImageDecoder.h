#pragma once

#include <filesystem>
#include <string>

#include "base/PixelBuffer.h"

namespace tavorin {

// A picture read from disk: the buffer, or null and why it could not be read.
struct DecodedImage {
  PixelBufferRef buffer;
  std::string error;
};

struct ImagePixelSize {
  int width = 0;
  int height = 0;
  friend bool operator==(const ImagePixelSize&, const ImagePixelSize&) = default;
};

// The size a w by h picture is kept at: only ever scaled down, by
// s = min(maxWidth / w, maxHeight / h, 1), and never below 2 pixels a side.
ImagePixelSize fittedImageSize(int width, int height, int maxWidth, int maxHeight);

// Decodes the first picture of a still-image file (PNG, JPEG, WebP, GIF, BMP,
// TIFF… whatever FFmpeg reads) into premultiplied BGRA at fittedImageSize.
DecodedImage decodeImageFile(const std::filesystem::path& path, int maxWidth = 1920, int maxHeight = 1080);

}  // namespace tavorin

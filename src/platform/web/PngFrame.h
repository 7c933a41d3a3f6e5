#pragma once

#include <memory>
#include <string_view>

#include "base/PixelBuffer.h"
#include "base/PixelBufferPool.h"

namespace tavorin {

// Decodes a base64 PNG (the browser's frame) into premultiplied BGRA, in a
// buffer from `pool`, which is made anew when the picture's size changes.
// Null when the text is not a PNG of at most 4096 by 4096, or the pool is dry.
PixelBufferRef decodePngFrame(std::string_view base64, std::shared_ptr<PixelBufferPool>& pool);

}  // namespace tavorin

#pragma once

#include <filesystem>
#include <string>

#include "base/PixelBuffer.h"

namespace tavorin {

// Writes a premultiplied BGRA buffer as a PNG file (straight alpha, as PNG
// wants; plain RGB when every pixel is opaque). The file appears whole or not
// at all: it is written beside the target and renamed over it. On failure
// returns false and, when `error` is given, says why.
bool writePNG(const PixelBuffer& buffer, const std::filesystem::path& path, std::string* error = nullptr);

}  // namespace tavorin

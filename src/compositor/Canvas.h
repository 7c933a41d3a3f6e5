#pragma once

#include <cstddef>

namespace tavorin {

// The canvases a tick may draw, in this order. Program and Preview take the
// main canvas's size, the vertical pair the fixed vertical size, and the
// studio canvas 1920 x 1080 whatever the main size.
enum class Canvas { program, preview, vertical, verticalPreview, studio };
inline constexpr std::size_t kCanvasCount = 5;
static_assert(static_cast<std::size_t>(Canvas::studio) + 1 == kCanvasCount);

}  // namespace tavorin

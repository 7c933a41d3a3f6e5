#pragma once

#include <memory>

#include "base/PixelBufferPool.h"
#include "model/TextConfig.h"
#include "platform/text/TextLayout.h"

namespace tavorin {

// Draws title designs: a picture of the exact size of the text plus its
// padding, with the optional background panel behind. One thread at a time.
class TextPainter {
 public:
  // Lines wrap at this width; the picture is never wider or taller than kMaxSide.
  static constexpr double kWrapWidth = 3200;
  static constexpr int kMinSide = 8;
  static constexpr int kMaxSide = 4096;

  // Null when no buffer can be had.
  PixelBufferRef draw(const TextConfig& config);
  // The layout draw() uses, for measuring.
  TextLayout layout(const TextConfig& config);

  // The margin round the text: a share of the font size, at least 2 pixels.
  static double padding(const TextConfig& config);

 private:
  Typesetter typesetter_;
  // Pictures change size with the text: the pool follows the newest size.
  std::unique_ptr<PixelBufferPool> pool_;
};

}  // namespace tavorin

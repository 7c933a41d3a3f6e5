#pragma once

#include "base/PixelBufferPool.h"
#include "model/ShapeConfig.h"
#include "platform/text/VectorPath.h"

namespace tavorin {

// The outline of `shape` inside `rect` (y up).
VectorPath shapePath(ShapeType shape, CanvasRect rect);

// Draws shape designs into pooled 1024 by 1024 pictures. One thread at a time.
class ShapePainter {
 public:
  static constexpr int kSide = 1024;
  // The shape's rectangle: a margin of 4% of the side on each edge.
  static constexpr CanvasRect kShapeRect{40.96, 40.96, 942.08, 942.08};

  // Null when no buffer can be had.
  PixelBufferRef draw(const ShapeConfig& config);

 private:
  PixelBufferPool pool_{kSide, kSide, 2, 8};
};

}  // namespace tavorin

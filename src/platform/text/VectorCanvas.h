#pragma once

#include "base/PixelBuffer.h"
#include "platform/text/CanvasGeometry.h"
#include "platform/text/TextLayout.h"
#include "platform/text/VectorPath.h"

typedef struct _cairo cairo_t;
typedef struct _cairo_surface cairo_surface_t;

namespace tavorin {

// Anti-aliased vector drawing (Cairo) straight into a pixel buffer's memory,
// which is Cairo's ARGB32 layout on a little-endian machine. Coordinates are
// pixels with the origin at the bottom left and y growing upward; only text
// is set top-down, as it reads. Alive only while one drawing is made.
class VectorCanvas {
 public:
  explicit VectorCanvas(PixelBuffer& target);
  // Flushes the drawing into the buffer.
  ~VectorCanvas();
  VectorCanvas(const VectorCanvas&) = delete;
  VectorCanvas& operator=(const VectorCanvas&) = delete;

  // False when Cairo could not take the buffer; every call then draws nothing.
  bool valid() const;

  // Every pixel transparent.
  void clear();
  // Clips and paints stay within a save/restore pair.
  void save();
  void restore();
  // Narrows the clip to the path's inside (non-zero winding).
  void clip(const VectorPath& path);

  void fillRect(CanvasRect rect, CanvasColor color);
  // Without anti-aliasing, pieces that share an edge leave no seam between them.
  void fillPath(const VectorPath& path, CanvasColor color, bool antialias = true);
  // `rect` painted with a gradient along from→to, the end colours continuing beyond both ends.
  void fillLinearGradient(CanvasRect rect, CanvasPoint from, CanvasPoint to, CanvasColor start, CanvasColor end);
  // `rect` painted with circles round `center` from `inner` to `outer` at `radius`, `outer` beyond.
  void fillRadialGradient(CanvasRect rect, CanvasPoint center, double radius, CanvasColor inner, CanvasColor outer);
  // The layout's lines from the top of `frame`, aligned across its width, cut off at its edges.
  void drawText(TextLayout& layout, CanvasRect frame, CanvasColor color);

 private:
  void addPath(const VectorPath& path);

  int height_;
  cairo_surface_t* surface_;
  cairo_t* cr_;
};

}  // namespace tavorin

#include "sources/TextPainter.h"

#include <algorithm>
#include <cmath>

#include "platform/text/VectorCanvas.h"
#include "sources/ShapeFillPainting.h"

namespace tavorin {

namespace {

TextAlignment textAlignment(TextConfig::Align align) {
  switch (align) {
    case TextConfig::Align::left: return TextAlignment::left;
    case TextConfig::Align::center: return TextAlignment::center;
    case TextConfig::Align::right: return TextAlignment::right;
  }
  return TextAlignment::center;
}

// Any size a panel or a file may hold, kept where Pango's fixed-point sizes stay exact.
double fontSize(const TextConfig& config) {
  if (!std::isfinite(config.fontSize)) return 1;
  return std::clamp(config.fontSize, 1.0, static_cast<double>(TextPainter::kMaxSide));
}

int pictureSide(double content, double pad) {
  return static_cast<int>(
      std::clamp(std::ceil(content) + 2 * pad, double{TextPainter::kMinSide}, double{TextPainter::kMaxSide}));
}

}  // namespace

double TextPainter::padding(const TextConfig& config) {
  const double pad = fontSize(config) * config.padding;
  if (!std::isfinite(pad)) return 2;
  return std::clamp(pad, 2.0, double{kMaxSide});
}

TextLayout TextPainter::layout(const TextConfig& config) {
  TextStyle style;
  style.family = typesetter_.hasFamily(config.fontName) ? config.fontName : std::string(Typesetter::kSystemFamily);
  style.size = fontSize(config);
  style.bold = config.bold;
  style.italic = config.italic;
  style.alignment = textAlignment(config.alignment);
  // One blank keeps an empty title one line high.
  return typesetter_.layout(config.text.empty() ? " " : config.text, style, kWrapWidth);
}

PixelBufferRef TextPainter::draw(const TextConfig& config) {
  TextLayout lines = layout(config);
  const CanvasRect extent = lines.logicalSize();
  const double pad = padding(config);
  const int width = pictureSide(extent.width, pad);
  const int height = pictureSide(extent.height, pad);
  if (!pool_ || pool_->width() != width || pool_->height() != height) {
    pool_ = std::make_unique<PixelBufferPool>(width, height, 2, 8);
  }
  PixelBufferRef picture = pool_->acquire();
  if (!picture) return nullptr;
  VectorCanvas canvas(*picture);
  if (!canvas.valid()) return nullptr;
  canvas.clear();
  const CanvasRect whole{0, 0, static_cast<double>(width), static_cast<double>(height)};
  if (config.backgroundEnabled) {
    const double radius = std::clamp(config.cornerRadius, 0.0, 1.0) * std::min(width, height) * 0.5;
    const CanvasRect panel = whole.insetBy(1);
    VectorPath outline;
    outline.addRoundedRect(panel, radius);
    canvas.save();
    canvas.clip(outline);
    paintShapeFill(canvas, config.background, panel);
    canvas.restore();
  }
  canvas.drawText(lines, whole.insetBy(pad), canvasColor(config.color));
  return picture;
}

}  // namespace tavorin

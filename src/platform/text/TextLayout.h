#pragma once

#include <string>
#include <string_view>

#include "platform/text/CanvasGeometry.h"

typedef struct _PangoContext PangoContext;
typedef struct _PangoFontMap PangoFontMap;
typedef struct _PangoLayout PangoLayout;

namespace tavorin {

enum class TextAlignment { left, center, right };

// How a paragraph of text is set. Sizes in pixels: one point is one pixel.
struct TextStyle {
  std::string family;
  double size = 12;
  bool bold = false;
  bool italic = false;
  TextAlignment alignment = TextAlignment::left;
};

// One paragraph laid out: lines broken at word boundaries (inside a word
// when one word is too long), shaped by HarfBuzz, so right-to-left and
// combining scripts come out right. Drawn by VectorCanvas::drawText.
class TextLayout {
 public:
  TextLayout(TextLayout&& other) noexcept;
  TextLayout& operator=(TextLayout&& other) noexcept;
  TextLayout(const TextLayout&) = delete;
  TextLayout& operator=(const TextLayout&) = delete;
  ~TextLayout();

  // The logical extent of the lines: the widest line by the height of all.
  CanvasRect logicalSize() const;
  int lineCount() const;
  // Characters that no installed font has a glyph for (drawn as boxes).
  int unknownGlyphCount() const;

 private:
  friend class Typesetter;
  friend class VectorCanvas;
  explicit TextLayout(PangoLayout* layout) : layout_(layout) {}

  PangoLayout* layout_;
};

// Sets text with the machine's fonts (Pango over fontconfig). Pango's font
// maps are not thread-safe: one typesetter per thread that sets text.
class Typesetter {
 public:
  // What the desktop calls its sans-serif face: the system font.
  static constexpr std::string_view kSystemFamily = "sans-serif";

  Typesetter();
  ~Typesetter();
  Typesetter(const Typesetter&) = delete;
  Typesetter& operator=(const Typesetter&) = delete;

  // Whether a family of this name (any case) is installed. Fontconfig itself
  // never says no: it substitutes the nearest face for any name.
  bool hasFamily(std::string_view name);
  // `text` set in `style` on lines at most `wrapWidth` pixels wide.
  TextLayout layout(std::string_view text, const TextStyle& style, double wrapWidth);

 private:
  PangoFontMap* fontMap_;
  PangoContext* context_;
  // Titles are retyped far more often than their font changes.
  std::string lastFamilyAsked_;
  bool lastFamilyFound_ = false;
};

}  // namespace tavorin

#include "platform/text/TextLayout.h"

#include <pango/pangocairo.h>

#include <utility>

namespace tavorin {

namespace {

PangoAlignment pangoAlignment(TextAlignment alignment) {
  switch (alignment) {
    case TextAlignment::left: return PANGO_ALIGN_LEFT;
    case TextAlignment::center: return PANGO_ALIGN_CENTER;
    case TextAlignment::right: return PANGO_ALIGN_RIGHT;
  }
  return PANGO_ALIGN_LEFT;
}

}  // namespace

TextLayout::TextLayout(TextLayout&& other) noexcept : layout_(std::exchange(other.layout_, nullptr)) {}

TextLayout& TextLayout::operator=(TextLayout&& other) noexcept {
  if (this != &other) {
    if (layout_) g_object_unref(layout_);
    layout_ = std::exchange(other.layout_, nullptr);
  }
  return *this;
}

TextLayout::~TextLayout() {
  if (layout_) g_object_unref(layout_);
}

CanvasRect TextLayout::logicalSize() const {
  PangoRectangle logical{};
  pango_layout_get_extents(layout_, nullptr, &logical);
  return {0, 0, static_cast<double>(logical.width) / PANGO_SCALE, static_cast<double>(logical.height) / PANGO_SCALE};
}

int TextLayout::lineCount() const { return pango_layout_get_line_count(layout_); }

int TextLayout::unknownGlyphCount() const { return pango_layout_get_unknown_glyphs_count(layout_); }

Typesetter::Typesetter() : fontMap_(pango_cairo_font_map_new()), context_(pango_font_map_create_context(fontMap_)) {
  // Grey coverage only: sub-pixel colour fringes show on a transparent
  // picture. Unhinted outlines and metrics keep a title's size the same at
  // every position and scale.
  cairo_font_options_t* options = cairo_font_options_create();
  cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
  cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
  cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
  pango_cairo_context_set_font_options(context_, options);
  cairo_font_options_destroy(options);
}

Typesetter::~Typesetter() {
  g_object_unref(context_);
  g_object_unref(fontMap_);
}

bool Typesetter::hasFamily(std::string_view name) {
  if (name == lastFamilyAsked_) return lastFamilyFound_;
  PangoFontFamily** families = nullptr;
  int count = 0;
  pango_font_map_list_families(fontMap_, &families, &count);
  const std::string wanted(name);
  bool found = false;
  for (int i = 0; i < count && !found; ++i) {
    found = g_ascii_strcasecmp(pango_font_family_get_name(families[i]), wanted.c_str()) == 0;
  }
  g_free(families);
  lastFamilyAsked_ = wanted;
  lastFamilyFound_ = found;
  return found;
}

TextLayout Typesetter::layout(std::string_view text, const TextStyle& style, double wrapWidth) {
  PangoLayout* layout = pango_layout_new(context_);
  PangoFontDescription* font = pango_font_description_new();
  pango_font_description_set_family(font, style.family.c_str());
  // Absolute: Pango's own unit is the point at 96 dpi, a title's is the pixel.
  pango_font_description_set_absolute_size(font, style.size * PANGO_SCALE);
  pango_font_description_set_weight(font, style.bold ? PANGO_WEIGHT_BOLD : PANGO_WEIGHT_NORMAL);
  pango_font_description_set_style(font, style.italic ? PANGO_STYLE_ITALIC : PANGO_STYLE_NORMAL);
  pango_layout_set_font_description(layout, font);
  pango_font_description_free(font);
  pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
  pango_layout_set_width(layout, static_cast<int>(wrapWidth * PANGO_SCALE));
  pango_layout_set_alignment(layout, pangoAlignment(style.alignment));
  pango_layout_set_text(layout, text.data(), static_cast<int>(text.size()));
  return TextLayout(layout);
}

}  // namespace tavorin

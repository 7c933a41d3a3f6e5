#include "platform/text/VectorCanvas.h"

#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>

namespace tavorin {

namespace {

void setColor(cairo_t* cr, CanvasColor c) { cairo_set_source_rgba(cr, c.r, c.g, c.b, c.a); }

void addStop(cairo_pattern_t* pattern, double offset, CanvasColor c) {
  cairo_pattern_add_color_stop_rgba(pattern, offset, c.r, c.g, c.b, c.a);
}

}  // namespace

VectorCanvas::VectorCanvas(PixelBuffer& target)
    : height_(target.height()),
      surface_(cairo_image_surface_create_for_data(target.data(), CAIRO_FORMAT_ARGB32, target.width(),
                                                   target.height(), static_cast<int>(target.bytesPerRow()))),
      cr_(cairo_create(surface_)) {
  // The drawing space runs upward from the bottom row; Cairo's runs down from the top.
  cairo_matrix_t flip;
  cairo_matrix_init(&flip, 1, 0, 0, -1, 0, height_);
  cairo_set_matrix(cr_, &flip);
  cairo_set_fill_rule(cr_, CAIRO_FILL_RULE_WINDING);
}

VectorCanvas::~VectorCanvas() {
  cairo_destroy(cr_);
  cairo_surface_flush(surface_);
  cairo_surface_destroy(surface_);
}

bool VectorCanvas::valid() const { return cairo_status(cr_) == CAIRO_STATUS_SUCCESS; }

void VectorCanvas::clear() {
  cairo_save(cr_);
  cairo_set_operator(cr_, CAIRO_OPERATOR_CLEAR);
  cairo_paint(cr_);
  cairo_restore(cr_);
}

void VectorCanvas::save() { cairo_save(cr_); }
void VectorCanvas::restore() { cairo_restore(cr_); }

void VectorCanvas::addPath(const VectorPath& path) {
  for (const auto& e : path.elements()) {
    switch (e.verb) {
      case VectorPath::Verb::moveTo: cairo_move_to(cr_, e.point.x, e.point.y); break;
      case VectorPath::Verb::lineTo: cairo_line_to(cr_, e.point.x, e.point.y); break;
      case VectorPath::Verb::close: cairo_close_path(cr_); break;
      case VectorPath::Verb::ellipse: {
        if (e.rect.width <= 0 || e.rect.height <= 0) break;
        cairo_save(cr_);
        cairo_translate(cr_, e.rect.midX(), e.rect.midY());
        cairo_scale(cr_, e.rect.width / 2, e.rect.height / 2);
        cairo_new_sub_path(cr_);
        cairo_arc(cr_, 0, 0, 1, 0, 2 * M_PI);
        cairo_close_path(cr_);
        cairo_restore(cr_);
        break;
      }
      case VectorPath::Verb::roundedRect: {
        const CanvasRect& r = e.rect;
        const double radius = std::clamp(e.radius, 0.0, std::min(r.width, r.height) / 2);
        cairo_new_sub_path(cr_);
        cairo_arc(cr_, r.x + r.width - radius, r.y + radius, radius, -M_PI / 2, 0);
        cairo_arc(cr_, r.x + r.width - radius, r.y + r.height - radius, radius, 0, M_PI / 2);
        cairo_arc(cr_, r.x + radius, r.y + r.height - radius, radius, M_PI / 2, M_PI);
        cairo_arc(cr_, r.x + radius, r.y + radius, radius, M_PI, 3 * M_PI / 2);
        cairo_close_path(cr_);
        break;
      }
    }
  }
}

void VectorCanvas::clip(const VectorPath& path) {
  cairo_new_path(cr_);
  addPath(path);
  cairo_clip(cr_);
}

void VectorCanvas::fillRect(CanvasRect rect, CanvasColor color) {
  setColor(cr_, color);
  cairo_rectangle(cr_, rect.x, rect.y, rect.width, rect.height);
  cairo_fill(cr_);
}

void VectorCanvas::fillPath(const VectorPath& path, CanvasColor color, bool antialias) {
  cairo_save(cr_);
  if (!antialias) cairo_set_antialias(cr_, CAIRO_ANTIALIAS_NONE);
  setColor(cr_, color);
  cairo_new_path(cr_);
  addPath(path);
  cairo_fill(cr_);
  cairo_restore(cr_);
}

void VectorCanvas::fillLinearGradient(CanvasRect rect, CanvasPoint from, CanvasPoint to, CanvasColor start,
                                      CanvasColor end) {
  cairo_pattern_t* gradient = cairo_pattern_create_linear(from.x, from.y, to.x, to.y);
  addStop(gradient, 0, start);
  addStop(gradient, 1, end);
  cairo_pattern_set_extend(gradient, CAIRO_EXTEND_PAD);
  cairo_set_source(cr_, gradient);
  cairo_rectangle(cr_, rect.x, rect.y, rect.width, rect.height);
  cairo_fill(cr_);
  cairo_pattern_destroy(gradient);
}

void VectorCanvas::fillRadialGradient(CanvasRect rect, CanvasPoint center, double radius, CanvasColor inner,
                                      CanvasColor outer) {
  cairo_pattern_t* gradient = cairo_pattern_create_radial(center.x, center.y, 0, center.x, center.y, radius);
  addStop(gradient, 0, inner);
  addStop(gradient, 1, outer);
  cairo_pattern_set_extend(gradient, CAIRO_EXTEND_PAD);
  cairo_set_source(cr_, gradient);
  cairo_rectangle(cr_, rect.x, rect.y, rect.width, rect.height);
  cairo_fill(cr_);
  cairo_pattern_destroy(gradient);
}

void VectorCanvas::drawText(TextLayout& layout, CanvasRect frame, CanvasColor color) {
  cairo_save(cr_);
  // Text is set top-down: under the upward space it would come out mirrored.
  cairo_identity_matrix(cr_);
  const double top = height_ - (frame.y + frame.height);
  cairo_rectangle(cr_, frame.x, top, frame.width, frame.height);
  cairo_clip(cr_);
  // Lines are aligned across the frame; it is at least as wide as the widest line.
  pango_layout_set_width(layout.layout_, static_cast<int>(std::floor(frame.width * PANGO_SCALE)));
  setColor(cr_, color);
  cairo_move_to(cr_, frame.x, top);
  pango_cairo_show_layout(cr_, layout.layout_);
  cairo_restore(cr_);
}

}  // namespace tavorin

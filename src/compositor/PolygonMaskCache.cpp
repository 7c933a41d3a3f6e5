#include "compositor/PolygonMaskCache.h"

#include <cstring>

#include <cairo.h>

#include "compositor/GLTextures.h"

namespace tavorin {

namespace {

bool usable(const std::vector<Point>& polygon) { return polygon.size() >= 3; }

// FNV-1a over the bytes of each value.
void mix(std::uint64_t& hash, double value) {
  if (value == 0) value = 0;  // -0 and 0 are one point
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  for (int i = 0; i < 8; ++i) {
    hash ^= (bits >> (8 * i)) & 0xFF;
    hash *= 1099511628211ull;
  }
}

}  // namespace

std::uint64_t PolygonMaskCache::key(const std::vector<std::vector<Point>>& polygons) {
  std::uint64_t hash = 14695981039346656037ull;
  for (const auto& polygon : polygons) {
    if (!usable(polygon)) continue;
    for (const Point& p : polygon) {
      mix(hash, p.x);
      mix(hash, p.y);
    }
    mix(hash, -1.0);
  }
  return hash;
}

std::vector<std::uint8_t> PolygonMaskCache::rasterise(const std::vector<std::vector<Point>>& polygons) {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_A8, kMaskSize, kMaskSize);
  if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
    cairo_surface_destroy(surface);
    return {};
  }
  cairo_t* cr = cairo_create(surface);
  cairo_set_fill_rule(cr, CAIRO_FILL_RULE_WINDING);
  cairo_set_source_rgba(cr, 1, 1, 1, 1);
  for (const auto& polygon : polygons) {
    if (!usable(polygon)) continue;
    cairo_move_to(cr, polygon[0].x * kMaskSize, polygon[0].y * kMaskSize);
    for (std::size_t i = 1; i < polygon.size(); ++i) cairo_line_to(cr, polygon[i].x * kMaskSize, polygon[i].y * kMaskSize);
    cairo_close_path(cr);
  }
  // One fill of all paths, so overlapping polygons unite.
  cairo_fill(cr);
  cairo_destroy(cr);
  cairo_surface_flush(surface);

  std::vector<std::uint8_t> bitmap(static_cast<std::size_t>(kMaskSize) * kMaskSize);
  const int stride = cairo_image_surface_get_stride(surface);
  const unsigned char* data = cairo_image_surface_get_data(surface);
  for (int y = 0; y < kMaskSize; ++y) std::memcpy(&bitmap[static_cast<std::size_t>(y) * kMaskSize], data + y * stride, kMaskSize);
  cairo_surface_destroy(surface);
  return bitmap;
}

GLuint PolygonMaskCache::maskTexture(const std::vector<std::vector<Point>>& polygons) {
  bool any = false;
  for (const auto& polygon : polygons) any = any || usable(polygon);
  if (!any) return 0;
  const std::uint64_t k = key(polygons);
  if (auto it = textures_.find(k); it != textures_.end()) return it->second.get();
  const std::vector<std::uint8_t> bitmap = rasterise(polygons);
  if (bitmap.empty()) return 0;
  GLTexture texture = makeR8Texture(kMaskSize, kMaskSize, bitmap.data());
  if (!texture) return 0;
  if (textures_.size() >= kCapacity) textures_.clear();
  const GLuint name = texture.get();
  textures_.emplace(k, std::move(texture));
  return name;
}

}  // namespace tavorin

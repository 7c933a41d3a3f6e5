#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "model/Geometry.h"
#include "platform/gl/GLObjects.h"

namespace tavorin {

// Polygon masks rasterised once into 1024 x 1024 single-channel textures
// and kept while they are in use. Edits on air make new entries, so the
// cache is emptied when it reaches its limit rather than growing.
class PolygonMaskCache {
 public:
  static constexpr int kMaskSize = 1024;
  static constexpr std::size_t kCapacity = 49;

  // Texture for the polygons (points in the layer's unit box, y downward),
  // white inside; 0 when no polygon has three or more points or the mask
  // could not be made.
  GLuint maskTexture(const std::vector<std::vector<Point>>& polygons);

  std::size_t size() const { return textures_.size(); }

  // The order-dependent key of a set of polygons (ignoring those too small).
  static std::uint64_t key(const std::vector<std::vector<Point>>& polygons);

  // The 1024 x 1024 coverage bitmap, rows top first; empty on failure.
  static std::vector<std::uint8_t> rasterise(const std::vector<std::vector<Point>>& polygons);

 private:
  std::unordered_map<std::uint64_t, GLTexture> textures_;
};

}  // namespace tavorin

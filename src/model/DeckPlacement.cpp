#include "model/DeckPlacement.h"

#include <algorithm>
#include <cmath>
#include <unordered_set>

namespace tavorin {

namespace {

constexpr int kMaxCells = 8;

class Occupied {
 public:
  bool isFree(int x, int y, int w, int h) const {
    for (int cy = y; cy < y + h; ++cy)
      for (int cx = x; cx < x + w; ++cx)
        if (cells_.contains(key(cx, cy))) return false;
    return true;
  }
  void mark(int x, int y, int w, int h) {
    for (int cy = y; cy < y + h; ++cy)
      for (int cx = x; cx < x + w; ++cx) cells_.insert(key(cx, cy));
  }

 private:
  static long long key(int x, int y) { return static_cast<long long>(x) + (static_cast<long long>(y) << 12); }
  std::unordered_set<long long> cells_;
};

int sideOf(std::optional<TileSize> size) {
  switch (size.value_or(TileSize::medium)) {
    case TileSize::small:
      return 1;
    case TileSize::large:
      return 4;
    case TileSize::medium:
      break;
  }
  return 2;
}

bool overlapsOthers(const std::vector<PlacedTile>& placed, std::size_t index, const CellRect& rect) {
  for (std::size_t i = 0; i < placed.size(); ++i) {
    if (i == index) continue;
    const auto& p = placed[i];
    if (rect.overlaps({p.x, p.y, p.w, p.h})) return true;
  }
  return false;
}

}  // namespace

TileSpan tileSpan(const DeckTile& tile) {
  if (tile.cellW && tile.cellH) {
    return {std::clamp(*tile.cellW, 1, kMaxCells), std::clamp(*tile.cellH, 1, kMaxCells)};
  }
  if (tile.action.kind == DeckActionKind::channelStrip) return {2, 4};
  const int side = sideOf(tile.size);
  return {side, side};
}

std::vector<PlacedTile> placeTiles(const std::vector<DeckTile>& tiles, int columns) {
  columns = std::max(columns, 1);
  std::vector<PlacedTile> placed(tiles.size());
  Occupied occupied;
  auto spanOf = [&](const DeckTile& tile) {
    auto span = tileSpan(tile);
    // A tile wider than the grid could never fit; it is laid out at the
    // grid's width so placement always ends.
    span.w = std::min(span.w, columns);
    return span;
  };
  for (std::size_t i = 0; i < tiles.size(); ++i) {
    const auto& tile = tiles[i];
    if (!tile.gridX || !tile.gridY) continue;
    const auto [w, h] = spanOf(tile);
    const int x = std::max(std::min(*tile.gridX, columns - w), 0);
    int y = std::max(*tile.gridY, 0);
    while (!occupied.isFree(x, y, w, h)) ++y;
    occupied.mark(x, y, w, h);
    placed[i] = {&tile, x, y, w, h};
  }
  for (std::size_t i = 0; i < tiles.size(); ++i) {
    const auto& tile = tiles[i];
    if (tile.gridX && tile.gridY) continue;
    const auto [w, h] = spanOf(tile);
    for (int y = 0;; ++y) {
      int x = 0;
      while (x + w <= columns && !occupied.isFree(x, y, w, h)) ++x;
      if (x + w > columns) continue;
      occupied.mark(x, y, w, h);
      placed[i] = {&tile, x, y, w, h};
      break;
    }
  }
  return placed;
}

int deckColumns(double width, double unit, double gap) {
  const double pitch = unit + gap;
  if (!(pitch > 0) || !std::isfinite(width)) return 4;
  return std::max(4, static_cast<int>(std::trunc((width + gap) / pitch)));
}

std::optional<CellPoint> dragMoveTarget(const std::vector<PlacedTile>& placed, std::size_t index, int columns, double tx,
                                        double ty, double unit, double gap) {
  if (index >= placed.size()) return std::nullopt;
  const auto& p = placed[index];
  const double pitch = unit + gap;
  int x = std::min(static_cast<int>(std::lround((p.x * pitch + tx) / pitch)), columns - p.w);
  x = std::max(x, 0);
  const int y = std::max(static_cast<int>(std::lround((p.y * pitch + ty) / pitch)), 0);
  if (overlapsOthers(placed, index, {x, y, p.w, p.h})) return std::nullopt;
  return CellPoint{x, y};
}

std::optional<TileSpan> dragResizeTarget(const std::vector<PlacedTile>& placed, std::size_t index, int columns, double tx,
                                         double ty, double unit, double gap) {
  if (index >= placed.size()) return std::nullopt;
  const auto& p = placed[index];
  const double pitch = unit + gap;
  const double pw = p.w * unit + (p.w - 1) * gap;
  const double ph = p.h * unit + (p.h - 1) * gap;
  int w = std::max(static_cast<int>(std::lround((pw + tx + gap) / pitch)), 1);
  w = std::min(std::min(w, columns - p.x), kMaxCells);
  w = std::max(w, 1);
  const int h = std::min(std::max(static_cast<int>(std::lround((ph + ty + gap) / pitch)), 1), kMaxCells);
  if (overlapsOthers(placed, index, {p.x, p.y, w, h})) return std::nullopt;
  return TileSpan{w, h};
}

}  // namespace tavorin

#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "model/Deck.h"

namespace tavorin {

// A tile's size in cells: its own cell size when it has both (each clamped to
// 1...8), else 2 by 4 for a channel strip, else the square of its size (small
// 1, medium or none 2, large 4).
struct TileSpan {
  int w = 2;
  int h = 2;
};
TileSpan tileSpan(const DeckTile& tile);

// Where one tile sits on the grid, in cells. `w` is the tile's span, narrowed
// to the grid when the tile is wider than the grid has columns.
struct PlacedTile {
  const DeckTile* tile = nullptr;
  int x = 0;
  int y = 0;
  int w = 1;
  int h = 1;
};

// Places the tiles on a grid `columns` wide (at least 1), one result per tile
// in the order of `tiles`. Pinned tiles (both gridX and gridY) go first, in
// tile order: each keeps its column, slides left when the grid is narrower and
// down past whatever is already placed. The others then take the first free
// spot row by row. The tiles themselves are not changed.
std::vector<PlacedTile> placeTiles(const std::vector<DeckTile>& tiles, int columns);

// The grid's columns for a width in pixels, never fewer than 4.
int deckColumns(double width, double unit, double gap);

// A rectangle of cells; touching edges do not overlap.
struct CellRect {
  int x = 0, y = 0, w = 1, h = 1;
  bool overlaps(const CellRect& o) const { return x < o.x + o.w && o.x < x + w && y < o.y + o.h && o.y < y + h; }
};

// Where a tile dragged by (tx, ty) pixels lands, or nothing when it would
// overlap another placed tile (it springs back).
struct CellPoint {
  int x = 0, y = 0;
};
std::optional<CellPoint> dragMoveTarget(const std::vector<PlacedTile>& placed, std::size_t index, int columns, double tx,
                                        double ty, double unit, double gap);
// The new cell size of a tile whose corner handle is dragged by (tx, ty), or
// nothing when it would overlap another placed tile.
std::optional<TileSpan> dragResizeTarget(const std::vector<PlacedTile>& placed, std::size_t index, int columns, double tx,
                                         double ty, double unit, double gap);

}  // namespace tavorin

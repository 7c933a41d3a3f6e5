#include "model/DeckPlacement.h"

#include <gtest/gtest.h>

namespace tavorin {
namespace {

struct TileShape {
  std::optional<int> gridX = std::nullopt, gridY = std::nullopt, cellW = std::nullopt, cellH = std::nullopt;
  std::optional<TileSize> size = std::nullopt;
  DeckActionKind kind = DeckActionKind::take;
};

std::vector<DeckTile> tilesOf(const std::vector<TileShape>& shapes) {
  std::vector<DeckTile> tiles;
  for (const auto& shape : shapes) {
    DeckTile tile;
    tile.action = DeckAction::plain(shape.kind);
    tile.gridX = shape.gridX;
    tile.gridY = shape.gridY;
    tile.cellW = shape.cellW;
    tile.cellH = shape.cellH;
    tile.size = shape.size;
    tiles.push_back(tile);
  }
  return tiles;
}

using Cells = std::vector<std::array<int, 4>>;  // x, y, w, h per tile

Cells cellsOf(const std::vector<DeckTile>& tiles, int columns) {
  Cells cells;
  for (const auto& p : placeTiles(tiles, columns)) cells.push_back({p.x, p.y, p.w, p.h});
  return cells;
}

TEST(DeckPlacement, SpansAndPlacesLikeTheGridRules) {
  using S = TileSize;
  const auto strip = DeckActionKind::channelStrip;
  struct Case {
    const char* what;
    std::vector<TileShape> tiles;
    int columns;
    Cells expected;
  };
  const std::vector<Case> cases = {
      {"automatic tiles take the first free spot, row by row",
       {{}, {.size = S::small}, {.size = S::small}, {.size = S::large}},
       6,
       {{0, 0, 2, 2}, {2, 0, 1, 1}, {3, 0, 1, 1}, {2, 1, 4, 4}}},
      {"two tiles pinned to one cell: the later slides down",
       {{.gridX = 1, .gridY = 1}, {.gridX = 1, .gridY = 1}},
       6,
       {{1, 1, 2, 2}, {1, 3, 2, 2}}},
      {"a pinned column beyond a narrow grid slides left",
       {{.gridX = 10, .gridY = 0}},
       6,
       {{4, 0, 2, 2}}},
      {"pinned tiles go first, automatic ones around them",
       {{}, {.gridX = 0, .gridY = 0, .size = S::small}},
       4,
       {{1, 0, 2, 2}, {0, 0, 1, 1}}},
      {"cells clamp to 8; one cell alone is ignored",
       {{.cellW = 20, .cellH = 1}, {.cellW = 3}},
       10,
       {{0, 0, 8, 1}, {8, 0, 2, 2}}},
      {"a channel strip is 2 by 4 unless its cells say otherwise",
       {{.kind = strip}, {.cellW = 1, .cellH = 1, .kind = strip}},
       4,
       {{0, 0, 2, 4}, {2, 0, 1, 1}}},
      {"a tile wider than the grid is laid out at the grid's width",
       {{.gridX = 2, .gridY = 0, .cellW = 8, .cellH = 1}, {.cellW = 8, .cellH = 1}},
       4,
       {{0, 0, 4, 1}, {0, 1, 4, 1}}},
      {"negative pins count as the first row and column",
       {{.gridX = -3, .gridY = -2}},
       4,
       {{0, 0, 2, 2}}},
  };
  for (const auto& c : cases) EXPECT_EQ(cellsOf(tilesOf(c.tiles), c.columns), c.expected) << c.what;
}

TEST(DeckPlacement, DragsSnapToCellsAndSpringBackOnOverlap) {
  const double unit = 80, gap = 8, pitch = unit + gap;
  EXPECT_EQ(deckColumns(4 * pitch - gap, unit, gap), 4);
  EXPECT_EQ(deckColumns(7 * pitch - gap + 1, unit, gap), 7);
  EXPECT_EQ(deckColumns(100, unit, gap), 4);

  const auto tiles = tilesOf({{}, {.size = TileSize::small}});  // (0,0) 2x2 and (2,0) 1x1
  const auto placed = placeTiles(tiles, 6);
  auto move = dragMoveTarget(placed, 1, 6, 1.6 * pitch, 0.4 * pitch, unit, gap);
  ASSERT_TRUE(move);
  EXPECT_EQ(move->x, 4);  // 2 + 1.6 cells rounds to 4
  EXPECT_EQ(move->y, 0);
  EXPECT_TRUE(dragMoveTarget(placed, 1, 6, 40 * pitch, 0, unit, gap));  // held at the right edge
  EXPECT_EQ(dragMoveTarget(placed, 1, 6, 40 * pitch, 0, unit, gap)->x, 5);
  EXPECT_FALSE(dragMoveTarget(placed, 1, 6, -1.2 * pitch, 0, unit, gap));  // onto the big tile
  EXPECT_TRUE(dragMoveTarget(placed, 1, 6, -2 * pitch, 2 * pitch, unit, gap));  // just below it: touching only

  auto grown = dragResizeTarget(placed, 1, 6, 2 * pitch, 1 * pitch, unit, gap);
  ASSERT_TRUE(grown);
  EXPECT_EQ(grown->w, 3);
  EXPECT_EQ(grown->h, 2);
  EXPECT_EQ(dragResizeTarget(placed, 1, 6, 50 * pitch, 50 * pitch, unit, gap)->w, 4);  // to the grid's edge
  EXPECT_EQ(dragResizeTarget(placed, 1, 6, 50 * pitch, 50 * pitch, unit, gap)->h, 8);
  EXPECT_FALSE(dragResizeTarget(placed, 0, 6, 1 * pitch, 0, unit, gap));  // the big tile over the small one
}

}  // namespace
}  // namespace tavorin

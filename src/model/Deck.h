#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/EnumNames.h"
#include "base/Uuid.h"
#include "model/DeckAction.h"
#include "model/HotkeyBinding.h"

namespace tavorin {

// A tile's square size while it has no cell size of its own.
enum class TileSize { small, medium, large };

// What a second press of a sound tile does.
enum class SoundTileMode { restart, stop, loop };

// One button (or fader) of a deck.
struct DeckTile {
  Uuid id = Uuid::make();
  DeckAction action;
  // The operator's alias; without it the tile shows the generated label.
  std::optional<std::string> label;
  std::optional<HotkeyBinding> hotkey;
  // Only for sound tiles; absent means restart.
  std::optional<SoundTileMode> soundMode;
  // Only for scene tiles: the custom transition that takes the scene.
  std::optional<Uuid> takeTransitionID;
  std::optional<std::string> colorHex;
  std::optional<std::string> symbol;
  std::optional<TileSize> size;
  std::optional<bool> hideLabel;
  // The pinned top-left cell; placed automatically unless both are there.
  std::optional<int> gridX, gridY;
  // Size in cells, used only when both are there; each clamped to 1...8.
  std::optional<int> cellW, cellH;

  friend bool operator==(const DeckTile&, const DeckTile&) = default;
};

// A whole show: its tiles, and through its id its own scene library.
struct Deck {
  Uuid id = Uuid::make();
  std::string name;
  // In the order they were added, which is also the placement order.
  std::vector<DeckTile> tiles;

  friend bool operator==(const Deck&, const Deck&) = default;
};

template <>
struct EnumNames<TileSize> {
  using S = TileSize;
  static constexpr std::pair<S, std::string_view> table[] = {
      {S::small, "Small"}, {S::medium, "Medium"}, {S::large, "Large"}};
};

template <>
struct EnumNames<SoundTileMode> {
  using M = SoundTileMode;
  static constexpr std::pair<M, std::string_view> table[] = {
      {M::restart, "Restart"}, {M::stop, "Stop"}, {M::loop, "Loop"}};
};

}  // namespace tavorin

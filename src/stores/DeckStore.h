#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/Published.h"
#include "base/Uuid.h"
#include "model/Deck.h"
#include "stores/Preferences.h"
#include "stores/ShowFolder.h"

namespace tavorin {

// The operator's decks, kept in "decks.json", and which one is active, kept in
// the preference "Tavorin.activeDeck". Once loaded there is always at least
// one deck and one active deck. Every change saves at once. Main thread only.
class DeckStore {
 public:
  DeckStore(ShowFolder folder, Preferences& preferences);

  // Reads the decks and the active one. With none it makes "Show 1", and it
  // stores the active deck when the preference named none: it may write, so
  // the app runs it once a file it has to keep aside can be reported.
  void load();

  Published<std::vector<Deck>> decks;
  // Change it through setActiveDeck, which also stores the preference.
  Published<std::optional<Uuid>> activeDeckID;

  const std::filesystem::path& fileURL() const { return fileURL_; }

  // Appends an empty deck (an empty name becomes "Show N") and makes it active; its id.
  Uuid add(std::string name);
  // Ignored when the name is empty or no deck has the id.
  void rename(const Uuid& id, const std::string& name);
  // Removes the deck. The last one gone leaves a fresh "Show 1"; the active one
  // gone makes the first deck active. Its scene library stays on disk.
  void remove(const Uuid& id);
  void setActiveDeck(const Uuid& id);

  std::optional<std::size_t> activeIndex() const;
  const Deck* activeDeck() const;
  const DeckTile* findTile(const Uuid& tileID) const;
  std::vector<Uuid> deckIDs() const;

  // Tile operations work on the active deck and do nothing without the tile.
  // A new tile has a fresh id, the action and the label, and nothing else; its id.
  std::optional<Uuid> addTile(const DeckAction& action, std::optional<std::string> label);
  void updateTile(const DeckTile& tile);
  void removeTile(const Uuid& id);
  void setSoundMode(const Uuid& id, SoundTileMode mode);
  // Pins the tile's top-left cell (negative values become 0).
  void moveTile(const Uuid& id, int x, int y);

  void save() const;

 private:
  template <class Fn>
  void changeTile(const Uuid& id, Fn&& fn);
  void storeActivePreference();

  Preferences& preferences_;
  std::filesystem::path fileURL_;
};

}  // namespace tavorin

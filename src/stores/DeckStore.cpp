#include "stores/DeckStore.h"

#include <algorithm>

#include "model/DeckJson.h"
#include "stores/JsonFile.h"
#include "stores/PreferenceKeys.h"

namespace tavorin {

namespace {

Deck emptyDeck(std::string name) {
  Deck deck;
  deck.name = std::move(name);
  return deck;
}

}  // namespace

DeckStore::DeckStore(ShowFolder folder, Preferences& preferences)
    : preferences_(preferences), fileURL_(folder.file("decks.json")) {
  folder.ensureRoot();
}

void DeckStore::load() {
  auto list = readJsonFile<std::vector<Deck>>(fileURL_).value_or(std::vector<Deck>{});
  const bool made = list.empty();
  if (made) list.push_back(emptyDeck("Show 1"));
  decks.set(std::move(list));
  if (made) save();

  std::optional<Uuid> stored;
  if (auto text = preferences_.getString(prefkey::activeDeck)) stored = Uuid::parse(*text);
  const auto& all = decks.get();
  if (stored && std::any_of(all.begin(), all.end(), [&](const Deck& d) { return d.id == *stored; })) {
    activeDeckID.set(*stored);
  } else {
    activeDeckID.set(all.front().id);
    storeActivePreference();
  }
}

Uuid DeckStore::add(std::string name) {
  if (name.empty()) name = "Show " + std::to_string(decks.get().size() + 1);
  Deck deck = emptyDeck(std::move(name));
  const Uuid id = deck.id;
  decks.modify([&](std::vector<Deck>& list) { list.push_back(std::move(deck)); });
  setActiveDeck(id);
  save();
  return id;
}

void DeckStore::rename(const Uuid& id, const std::string& name) {
  if (name.empty()) return;
  const auto& all = decks.get();
  if (std::none_of(all.begin(), all.end(), [&](const Deck& d) { return d.id == id; })) return;
  decks.modify([&](std::vector<Deck>& list) {
    for (auto& deck : list)
      if (deck.id == id) deck.name = name;
  });
  save();
}

void DeckStore::remove(const Uuid& id) {
  const bool wasActive = activeDeckID.get() == id;
  decks.modify([&](std::vector<Deck>& list) {
    std::erase_if(list, [&](const Deck& d) { return d.id == id; });
    if (list.empty()) list.push_back(emptyDeck("Show 1"));
  });
  if (wasActive || !activeIndex()) setActiveDeck(decks.get().front().id);
  save();
}

void DeckStore::setActiveDeck(const Uuid& id) {
  activeDeckID.set(id);
  storeActivePreference();
}

void DeckStore::storeActivePreference() {
  if (activeDeckID.get()) preferences_.setString(prefkey::activeDeck, activeDeckID.get()->toString());
}

std::optional<std::size_t> DeckStore::activeIndex() const {
  const auto& active = activeDeckID.get();
  if (!active) return std::nullopt;
  const auto& all = decks.get();
  for (std::size_t i = 0; i < all.size(); ++i)
    if (all[i].id == *active) return i;
  return std::nullopt;
}

const Deck* DeckStore::activeDeck() const {
  auto index = activeIndex();
  return index ? &decks.get()[*index] : nullptr;
}

const DeckTile* DeckStore::findTile(const Uuid& tileID) const {
  const Deck* deck = activeDeck();
  if (!deck) return nullptr;
  for (const auto& tile : deck->tiles)
    if (tile.id == tileID) return &tile;
  return nullptr;
}

std::vector<Uuid> DeckStore::deckIDs() const {
  std::vector<Uuid> ids;
  for (const auto& deck : decks.get()) ids.push_back(deck.id);
  return ids;
}

std::optional<Uuid> DeckStore::addTile(const DeckAction& action, std::optional<std::string> label) {
  auto index = activeIndex();
  if (!index) return std::nullopt;
  DeckTile tile;
  tile.action = action;
  tile.label = std::move(label);
  const Uuid id = tile.id;
  decks.modify([&](std::vector<Deck>& list) { list[*index].tiles.push_back(std::move(tile)); });
  save();
  return id;
}

template <class Fn>
void DeckStore::changeTile(const Uuid& id, Fn&& fn) {
  if (!findTile(id)) return;
  const auto index = *activeIndex();
  decks.modify([&](std::vector<Deck>& list) {
    for (auto& tile : list[index].tiles)
      if (tile.id == id) fn(tile);
  });
  save();
}

void DeckStore::updateTile(const DeckTile& tile) {
  changeTile(tile.id, [&](DeckTile& stored) { stored = tile; });
}

void DeckStore::removeTile(const Uuid& id) {
  if (!findTile(id)) return;
  const auto index = *activeIndex();
  decks.modify([&](std::vector<Deck>& list) { std::erase_if(list[index].tiles, [&](const DeckTile& t) { return t.id == id; }); });
  save();
}

void DeckStore::setSoundMode(const Uuid& id, SoundTileMode mode) {
  changeTile(id, [&](DeckTile& tile) { tile.soundMode = mode; });
}

void DeckStore::moveTile(const Uuid& id, int x, int y) {
  changeTile(id, [&](DeckTile& tile) {
    tile.gridX = std::max(x, 0);
    tile.gridY = std::max(y, 0);
  });
}

void DeckStore::save() const { writeJsonFile(fileURL_, decks.get()); }

}  // namespace tavorin

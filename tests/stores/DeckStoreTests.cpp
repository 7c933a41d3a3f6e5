#include "stores/DeckStore.h"

#include <gtest/gtest.h>

#include "stores/PreferenceKeys.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::readFile;
using testing::writeFile;

class DeckStoreTests : public ::testing::Test {
 protected:
  std::unique_ptr<DeckStore> open() {
    auto store = std::make_unique<DeckStore>(ShowFolder(dir.path()), preferences);
    store->load();
    return store;
  }
  std::vector<std::string> names(const DeckStore& store) {
    std::vector<std::string> list;
    for (const auto& deck : store.decks.get()) list.push_back(deck.name);
    return list;
  }

  testing::TempDir dir;
  Preferences preferences{dir / "prefs.json"};
};

TEST_F(DeckStoreTests, AlwaysHasAnActiveDeckWhateverTheFileAndPreferenceSay) {
  for (const char* contents : std::vector<const char*>{"", "[]", "{not json", nullptr}) {
    std::filesystem::remove(dir / "decks.json");
    if (contents) writeFile(dir / "decks.json", contents);
    preferences.setString(prefkey::activeDeck, Uuid::make().toString());  // names no deck
    auto store = open();
    EXPECT_EQ(names(*store), std::vector<std::string>{"Show 1"}) << (contents ? contents : "no file");
    ASSERT_TRUE(store->activeDeck());
    EXPECT_EQ(preferences.getString(prefkey::activeDeck), store->activeDeck()->id.toString());
  }
}

TEST_F(DeckStoreTests, DecksAndTilesPersistAndTheActiveOneComesBack) {
  Uuid second, tile;
  {
    auto store = open();
    second = store->add("");
    store->rename(second, "");  // ignored
    tile = *store->addTile(DeckAction::plain(DeckActionKind::cut), "CUT!");
    store->moveTile(tile, -2, 3);
    store->setSoundMode(tile, SoundTileMode::stop);
    store->moveTile(Uuid::make(), 1, 1);  // no such tile: nothing
  }
  auto store = open();
  EXPECT_EQ(names(*store), (std::vector<std::string>{"Show 1", "Show 2"}));
  EXPECT_EQ(store->activeDeckID.get(), second);
  const DeckTile* stored = store->findTile(tile);
  ASSERT_TRUE(stored);
  EXPECT_EQ(stored->label, "CUT!");
  EXPECT_EQ(stored->gridX, 0);
  EXPECT_EQ(stored->gridY, 3);
  EXPECT_EQ(stored->soundMode, SoundTileMode::stop);
}

TEST_F(DeckStoreTests, DeletingKeepsOneActiveDeckAndTheSceneLibrary) {
  auto store = open();
  const Uuid first = store->activeDeck()->id;
  const Uuid second = store->add("Late show");
  writeFile(dir / ("layouts-" + second.toString() + ".json"), "[]");

  store->remove(first);  // not the active one: the active stays
  EXPECT_EQ(store->activeDeckID.get(), second);
  store->remove(second);
  EXPECT_EQ(names(*store), std::vector<std::string>{"Show 1"});
  EXPECT_NE(store->activeDeck()->id, second);
  EXPECT_EQ(preferences.getString(prefkey::activeDeck), store->activeDeck()->id.toString());
  EXPECT_TRUE(std::filesystem::exists(dir / ("layouts-" + second.toString() + ".json")));
}

}  // namespace
}  // namespace tavorin

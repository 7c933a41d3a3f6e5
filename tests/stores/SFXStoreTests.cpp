#include "stores/SFXStore.h"

#include <gtest/gtest.h>

#include "stores/SFXSynth.h"
#include "support/ManualMainQueue.h"
#include "support/TempDir.h"
#include "support/WaitFor.h"

namespace tavorin {
namespace {

using testing::readFile;
using testing::writeFile;
using Names = std::vector<std::string>;

Names namesOf(const std::vector<SFXItem>& items) {
  Names list;
  for (const SFXItem& item : items) list.push_back(item.name);
  return list;
}

class SFXStoreTests : public ::testing::Test {
 protected:
  // A store whose built-in sounds are rendered and listed.
  std::unique_ptr<SFXStore> open() {
    auto store = std::make_unique<SFXStore>(folder, queue, [this](const std::string& line) { logged.push_back(line); });
    const auto seeded = [&] {
      queue.runUntilIdle();
      return store->seeded.get();
    };
    EXPECT_TRUE(testing::waitFor(seeded, 30));
    return store;
  }

  // Imports a file named `file` that holds its own name.
  SFXItem imported(SFXStore& store, const std::string& file) {
    writeFile(dir / file, file);
    return store.importFile(dir / file).value();
  }

  testing::TempDir dir;
  ShowFolder folder{dir / "Tavorin"};
  std::filesystem::path sfx = dir / "Tavorin" / "SFX";
  testing::ManualMainQueue queue;
  std::vector<std::string> logged;
  Names presets = [] {
    Names list;
    for (const auto& preset : SFXSynth::presets()) list.push_back(preset.name);
    return list;
  }();
};

TEST_F(SFXStoreTests, BuiltinsComeFirstInPresetOrderThenImportsByNameIgnoringCase) {
  { SFXStore leftEarly(folder, queue); }  // gone while rendering: its answer must find nothing
  queue.runUntilIdle();
  auto store = open();
  EXPECT_EQ(namesOf(*store->sounds), presets);
  EXPECT_EQ(store->sounds.get()[3].fileName, "builtin-double-beep.wav");
  EXPECT_TRUE(std::filesystem::is_regular_file(store->fileURL(store->sounds.get()[3])));

  for (const char* file : {"Cherry.wav", "apple", "banana.mp3"}) imported(*store, file);
  ASSERT_TRUE(store->importFile(dir / "banana.mp3"));
  EXPECT_FALSE(store->importFile(dir / "missing.wav"));
  const std::vector<SFXItem> sounds = store->sounds.get();
  ASSERT_EQ(sounds.size(), 19u);
  const Names names = namesOf(sounds);
  EXPECT_EQ(Names(names.begin() + 15, names.end()), (Names{"apple", "banana", "banana", "Cherry"}));
  EXPECT_EQ(sounds[15].fileName, "user-" + sounds[15].id.toString() + ".wav");
  EXPECT_EQ(readFile(store->fileURL(sounds[15])), "apple");
  EXPECT_NE(sounds[16].fileName, sounds[17].fileName);
  EXPECT_TRUE(sounds[16].fileName.ends_with(".mp3"));

  store.reset();
  EXPECT_EQ(open()->sounds.get(), sounds);
}

TEST_F(SFXStoreTests, EditsRefuseBlankNamesAndSpareBuiltins) {
  auto store = open();
  const Uuid id = imported(*store, "x.wav").id;
  const struct {
    const char* name;
    const char* kept;
  } renames[] = {{"   ", "x"}, {"", "x"}, {" a ", " a "}, {"\t\n", " a "}};
  for (const auto& r : renames) {
    store->rename(id, r.name);
    EXPECT_EQ(store->find(id)->name, r.kept) << '"' << r.name << '"';
  }
  const SFXItem ding = store->sounds.get()[0];
  const SFXItem user = *store->find(id);
  store->remove(ding);
  store->remove(user);
  EXPECT_EQ(namesOf(*store->sounds), presets);
  EXPECT_TRUE(std::filesystem::exists(store->fileURL(ding)));
  EXPECT_FALSE(std::filesystem::exists(store->fileURL(user)));
}

TEST_F(SFXStoreTests, NextStartRepairsBuiltinsAndKeepsTheirIds) {
  auto store = open();
  const SFXItem pop = store->sounds.get()[4];
  store.reset();
  std::filesystem::remove(sfx / pop.fileName);
  store = open();
  EXPECT_EQ(store->sounds->size(), 15u);
  EXPECT_EQ(store->sounds.get()[4], pop);
  EXPECT_TRUE(std::filesystem::exists(sfx / pop.fileName));

  // A corrupt index starts over; imported files stay on disk, unlisted.
  const SFXItem user = imported(*store, "x.wav");
  store.reset();
  writeFile(sfx / "index.json", "[{\"id\": 3");
  EXPECT_EQ(namesOf(*open()->sounds), presets);
  EXPECT_EQ(readFile(sfx / user.fileName), "x.wav");
}

TEST_F(SFXStoreTests, PresetThatCannotBeWrittenIsLoggedAndTriedAtTheNextStart) {
  std::filesystem::create_directories(sfx / "builtin-ding.wav" / "in-the-way");
  auto store = open();
  ASSERT_EQ(logged.size(), 1u);
  EXPECT_TRUE(logged[0].starts_with("SFXSynth write failed for Ding: ")) << logged[0];
  const std::vector<SFXItem> rest = store->sounds.get();
  EXPECT_EQ(namesOf(rest), Names(presets.begin() + 1, presets.end()));
  store.reset();
  std::filesystem::remove_all(sfx / "builtin-ding.wav");
  store = open();
  EXPECT_EQ(namesOf(*store->sounds), presets);
  EXPECT_EQ(std::vector<SFXItem>(store->sounds->begin() + 1, store->sounds->end()), rest);
  EXPECT_EQ(logged.size(), 1u);
}

}  // namespace
}  // namespace tavorin

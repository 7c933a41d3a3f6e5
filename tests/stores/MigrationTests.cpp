#include "stores/LayoutMigrations.h"

#include <gtest/gtest.h>

#include "support/StoreTestFiles.h"
#include "model/SceneJson.h"
#include "stores/PreferenceKeys.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using json = Json;
using testing::fileState;
using testing::readFile;
using testing::TempDir;
using testing::writeFile;

// Grouped, so the migration's move of groups into the vertical design shows.
MixerScene sceneWith(std::string name, std::string sourceID) {
  auto scene = testing::sceneWith(std::move(name), std::move(sourceID));
  scene.groups.push_back(LayerGroup{.id = Uuid::make(), .name = "G " + scene.name});
  return scene;
}

class MigrationTests : public ::testing::Test {
 protected:
  TempDir dir;
  ShowFolder folder{dir / "Tavorin"};
  Preferences prefs{dir / "preferences.json"};
  Uuid deckA = Uuid::make();
  Uuid deckB = Uuid::make();

  MigrationTests() { folder.ensureRoot(); }
  std::filesystem::path deckFile(const char* stem, const Uuid& deck) const {
    return folder.file(std::string(stem) + "-" + deck.toString() + ".json");
  }
  void write(const std::filesystem::path& path, const std::vector<MixerScene>& scenes) { writeFile(path, json(scenes).dump()); }
  std::vector<MixerScene> read(const std::filesystem::path& path) const {
    return json::parse(readFile(path)).get<std::vector<MixerScene>>();
  }
};

TEST_F(MigrationTests, DeckLayoutsGivesEveryDeckACopyButKeepsExistingFiles) {
  writeFile(folder.file("layouts.json"), "[1]");
  writeFile(folder.file("verticalLayouts.json"), "[2]");
  writeFile(deckFile("layouts", deckB), "[3]");

  migrateDeckLayouts(folder, {deckA, deckB}, prefs);
  EXPECT_EQ(readFile(deckFile("layouts", deckA)), "[1]");
  EXPECT_EQ(readFile(deckFile("verticalLayouts", deckA)), "[2]");
  EXPECT_EQ(readFile(deckFile("layouts", deckB)), "[3]");
  EXPECT_EQ(readFile(deckFile("verticalLayouts", deckB)), "[2]");
  EXPECT_EQ(Preferences(dir / "preferences.json").getBool(prefkey::deckLayoutsMigrated), true);

  // Guarded by the key: a deck added later starts empty.
  const Uuid deckC = Uuid::make();
  migrateDeckLayouts(folder, {deckC}, prefs);
  EXPECT_FALSE(std::filesystem::exists(deckFile("layouts", deckC)));
}

TEST_F(MigrationTests, EmbeddedVerticalMovesDesignsIntoTheLayouts) {
  const auto vLinked = sceneWith("Phone interview", "phone");
  auto vAlone = sceneWith("Phone only", "phone2");
  vAlone.transition = SceneTransition{.kind = "slide", .customID = {}, .duration = 0.8};
  auto linked = sceneWith("Interview", "cam");
  linked.companionLayoutID = vLinked.id;
  auto orphan = sceneWith("Orphan", "cam2");
  orphan.companionLayoutID = Uuid::make();  // its vertical layout is gone
  write(deckFile("layouts", deckA), {linked, orphan});
  write(deckFile("verticalLayouts", deckA), {vLinked, vAlone});
  const auto verticalText = readFile(deckFile("verticalLayouts", deckA));

  migrateEmbeddedVertical(folder, {deckA}, prefs);

  auto expectedLinked = linked;
  expectedLinked.companionLayoutID.reset();
  expectedLinked.verticalLayers = vLinked.layers;
  expectedLinked.verticalGroups = vLinked.groups;
  auto expectedOrphan = orphan;
  expectedOrphan.companionLayoutID.reset();
  MixerScene expectedAlone;
  expectedAlone.id = vAlone.id;
  expectedAlone.name = "Phone only";
  expectedAlone.transition = vAlone.transition;
  expectedAlone.verticalLayers = vAlone.layers;
  expectedAlone.verticalGroups = vAlone.groups;

  EXPECT_EQ(read(deckFile("layouts", deckA)), (std::vector<MixerScene>{expectedLinked, expectedOrphan, expectedAlone}));
  EXPECT_FALSE(std::filesystem::exists(deckFile("verticalLayouts", deckA)));
  EXPECT_EQ(readFile(deckFile("verticalLayouts", deckA).string() + ".bak"), verticalText);
  EXPECT_TRUE(prefs.boolOr(prefkey::embeddedVerticalMigrated, false));
}

TEST_F(MigrationTests, EmbeddedVerticalSkipsDecksWithoutAUsableVerticalFileAndRunsOnce) {
  const auto horizontal = sceneWith("Wide", "cam");
  write(deckFile("layouts", deckA), {horizontal});
  write(deckFile("layouts", deckB), {horizontal});
  write(deckFile("verticalLayouts", deckB), {});
  const auto before = fileState(deckFile("layouts", deckA));

  migrateEmbeddedVertical(folder, {deckA, deckB}, prefs);
  EXPECT_EQ(fileState(deckFile("layouts", deckA)), before);
  EXPECT_TRUE(std::filesystem::exists(deckFile("verticalLayouts", deckB)));
  EXPECT_EQ(prefs.getBool(prefkey::embeddedVerticalMigrated), true);

  write(deckFile("verticalLayouts", deckA), {sceneWith("Late", "phone")});
  migrateEmbeddedVertical(folder, {deckA, deckB}, prefs);
  EXPECT_EQ(fileState(deckFile("layouts", deckA)), before);
}

TEST_F(MigrationTests, EmbeddedVerticalWithUnreadableLayoutsKeepsTheVerticalOnes) {
  const auto vertical = sceneWith("Phone", "phone");
  writeFile(deckFile("layouts", deckA), "{broken");
  write(deckFile("verticalLayouts", deckA), {vertical});

  migrateEmbeddedVertical(folder, {deckA}, prefs);
  const auto layouts = read(deckFile("layouts", deckA));
  ASSERT_EQ(layouts.size(), 1u);
  EXPECT_EQ(layouts[0].id, vertical.id);
  EXPECT_TRUE(layouts[0].layers.empty());
  EXPECT_EQ(layouts[0].verticalLayers, vertical.layers);
}

TEST_F(MigrationTests, BothRunInOrderSoACopiedVerticalLibraryIsEmbedded) {
  const auto vertical = sceneWith("Phone", "phone");
  write(folder.file("layouts.json"), {});
  write(folder.file("verticalLayouts.json"), {vertical});

  runLayoutMigrations(folder, {deckA, deckB}, prefs);
  for (const auto& deck : {deckA, deckB}) {
    const auto layouts = read(deckFile("layouts", deck));
    ASSERT_EQ(layouts.size(), 1u);
    EXPECT_EQ(layouts[0].verticalLayers, vertical.layers);
  }
  EXPECT_TRUE(std::filesystem::exists(folder.file("verticalLayouts.json")));
}

}  // namespace
}  // namespace tavorin

#include "stores/LayoutStore.h"

#include <gtest/gtest.h>

#include "support/StoreTestFiles.h"
#include "model/SceneJson.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::fileState;
using testing::readFile;
using testing::sceneWith;
using testing::TempDir;
using testing::writeFile;

std::vector<MixerScene> onDisk(const std::filesystem::path& path) {
  return Json::parse(readFile(path)).get<std::vector<MixerScene>>();
}

class LayoutStoreTests : public ::testing::Test {
 protected:
  TempDir dir;
  ShowFolder folder{dir / "nested" / "Tavorin"};
  std::filesystem::path file = folder.file("layouts.json");
};

TEST_F(LayoutStoreTests, DuplicateIdsAreRepairedAndWrittenAtOnce) {
  auto first = MixerScene::named("A");
  auto second = first;
  second.name = "B";
  std::filesystem::create_directories(folder.root());
  writeFile(file, Json(std::vector<MixerScene>{first, second}).dump());

  LayoutStore store(folder, "layouts.json");
  ASSERT_EQ(store.layouts->size(), 2u);
  EXPECT_EQ(store.layouts.get()[0].id, first.id);
  EXPECT_NE(store.layouts.get()[1].id, first.id);
  EXPECT_EQ(store.layouts.get()[1].name, "B");
  EXPECT_EQ(onDisk(file), store.layouts.get());
}

TEST_F(LayoutStoreTests, AddNamesAnUnnamedSceneAfterTheNewCount) {
  LayoutStore store(folder, "layouts.json");
  for (int i = 0; i < 4; ++i) store.add(MixerScene{}, "Named");
  const auto source = sceneWith("ignored", "cam");
  const Uuid id = store.add(source, "");
  const auto& added = store.layouts.get().back();
  EXPECT_EQ(added.name, "Scene 5");
  EXPECT_EQ(added.id, id);
  EXPECT_NE(id, source.id);
  EXPECT_EQ(added.layers, source.layers);
  EXPECT_EQ(LayoutStore(folder, "layouts.json").layouts.get(), store.layouts.get());
}

TEST_F(LayoutStoreTests, ReplaceKeepsIdentityNameTransitionAndVerticalDesign) {
  LayoutStore store(folder, "layouts.json");
  auto stored = sceneWith("Interview", "cam");
  stored.transition = SceneTransition{.kind = "slide", .customID = {}, .duration = 1.0};
  stored.verticalLayers = sceneWith("", "phone").layers;
  stored.verticalGroups = std::vector<LayerGroup>{};
  const Uuid id = store.add(stored, "Interview");

  auto edited = sceneWith("Preview", "screen");
  edited.audio.channels["mic"] = ChannelSetting{.gain = 0.5f, .muted = true};
  store.replace(id, edited);

  auto expected = edited;
  expected.id = id;
  expected.name = "Interview";
  expected.transition = stored.transition;
  expected.verticalLayers = stored.verticalLayers;
  expected.verticalGroups = stored.verticalGroups;
  EXPECT_EQ(store.layouts.get().front(), expected);
  EXPECT_EQ(onDisk(file).front(), expected);
}

TEST_F(LayoutStoreTests, DuplicatePlacesTheCopyRightBehindTheOriginal) {
  LayoutStore store(folder, "layouts.json");
  const Uuid a = store.add(sceneWith("", "a"), "A");
  store.add(MixerScene{}, "B");
  const auto copyID = store.duplicate(a);
  ASSERT_TRUE(copyID);
  const auto& list = store.layouts.get();
  ASSERT_EQ(list.size(), 3u);
  EXPECT_EQ(list[1].id, *copyID);
  EXPECT_NE(*copyID, a);
  EXPECT_EQ(list[1].name, "A copy");
  EXPECT_EQ(list[1].layers, list[0].layers);
  EXPECT_EQ(list[2].name, "B");
  EXPECT_EQ(onDisk(file), list);
  EXPECT_FALSE(store.duplicate(Uuid::make()));
}

TEST_F(LayoutStoreTests, RenameToEmptyOrUnknownIdChangesAndWritesNothing) {
  LayoutStore store(folder, "layouts.json");
  const Uuid id = store.add(MixerScene{}, "A");
  const auto before = fileState(file);
  int notifications = 0;
  auto subscription = store.layouts.subscribe([&](const auto&) { ++notifications; });
  store.rename(id, "");
  store.rename(Uuid::make(), "B");
  store.setVertical(Uuid::make(), MixerScene{});
  EXPECT_EQ(notifications, 0);
  EXPECT_EQ(fileState(file), before);
  store.rename(id, "B");
  EXPECT_EQ(notifications, 1);
  EXPECT_EQ(onDisk(file).front().name, "B");
}

TEST_F(LayoutStoreTests, SwitchFileLoadsTheOtherLibraryOnce) {
  LayoutStore store(folder, "layouts.json");
  store.add(MixerScene{}, "Old");
  int notifications = 0;
  auto subscription = store.layouts.subscribe([&](const auto&) { ++notifications; });
  store.switchFile("layouts.json");
  EXPECT_EQ(notifications, 0);

  store.switchFile("layouts-DECK.json");
  EXPECT_EQ(store.fileURL(), folder.file("layouts-DECK.json"));
  EXPECT_TRUE(store.layouts->empty());
  EXPECT_EQ(notifications, 1);
  store.add(MixerScene{}, "New");
  EXPECT_EQ(onDisk(folder.file("layouts-DECK.json")).front().name, "New");
  EXPECT_EQ(onDisk(file).front().name, "Old");
}

}  // namespace
}  // namespace tavorin

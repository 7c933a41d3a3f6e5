#include "stores/SourcesStore.h"

#include <gtest/gtest.h>

#include "support/StoreTestFiles.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using nlohmann::json;
using testing::fileState;
using testing::readFile;
using testing::TempDir;
using testing::writeFile;

SavedSource source(std::string id, SavedSource::Kind kind, std::string name) {
  SavedSource s;
  s.id = std::move(id);
  s.kind = kind;
  s.name = std::move(name);
  return s;
}

class SourcesStoreTests : public ::testing::Test {
 protected:
  TempDir dir;
  ShowFolder folder{dir / "Tavorin"};
  std::filesystem::path file = folder.file("sources.json");
  json onDisk() const { return json::parse(readFile(file)); }
};

TEST_F(SourcesStoreTests, AbsentFieldsAreLeftOutAndUnknownDesignsKeptAsWritten) {
  SourcesStore store(folder);
  store.upsert(source("cam-1", SavedSource::Kind::camera, "Camera"));
  auto text = source("t-1", SavedSource::Kind::text, "Title");
  text.textConfig = json{{"text", "Hello"}, {"future", {1, 2, 3}}};
  text.displayID = 4000000000u;
  store.upsert(text);
  const std::string syncID = "synctest:6F1B2C3D-4E5F-4A6B-8C7D-9E0F1A2B3C4D";
  store.upsert(source(syncID, SavedSource::Kind::syncTest, "Sync test"));

  EXPECT_EQ(onDisk()[0], (json{{"id", "cam-1"}, {"kind", "camera"}, {"name", "Camera"}}));
  EXPECT_EQ(onDisk()[1]["textConfig"], *text.textConfig);
  EXPECT_EQ(onDisk()[2], (json{{"id", syncID}, {"kind", "syncTest"}, {"name", "Sync test"}}));
  EXPECT_EQ(SourcesStore(folder).saved.get(), store.saved.get());
}

TEST_F(SourcesStoreTests, UpsertReplacesByIdOrAppendsAndRemoveDropsEveryEntryWithTheId) {
  writeFile(file, R"([{"id":"a","kind":"image","name":"A"},{"id":"a","kind":"image","name":"A twice"}])");
  SourcesStore store(folder);
  store.upsert(source("b", SavedSource::Kind::black, "B"));
  auto replaced = source("a", SavedSource::Kind::clip, "A2");
  replaced.filePath = "/clips/a.mov";
  store.upsert(replaced);
  ASSERT_EQ(store.saved->size(), 3u);
  EXPECT_EQ(store.saved.get()[0], replaced);
  store.remove("a");
  EXPECT_EQ(onDisk(), json::parse(R"([{"id":"b","kind":"black","name":"B"}])"));
}

TEST_F(SourcesStoreTests, TrimStartAtZeroIsNotStored) {
  SourcesStore store(folder);
  store.upsert(source("c", SavedSource::Kind::clip, "Clip"));
  store.setTrim("c", 2.5, 10.0);
  EXPECT_EQ(onDisk()[0]["trimStart"], 2.5);
  store.setTrim("c", 0, std::nullopt);
  EXPECT_FALSE(onDisk()[0].contains("trimStart"));
  EXPECT_FALSE(onDisk()[0].contains("trimEnd"));
  EXPECT_FALSE(store.saved.get()[0].trimStart);
}

TEST_F(SourcesStoreTests, RenameToEmptyWritesNothingAndOverlayConfigIsSaved) {
  SourcesStore store(folder);
  store.upsert(source("o", SavedSource::Kind::overlay, "Lower third"));
  const auto before = fileState(file);
  store.rename("o", "");
  EXPECT_EQ(fileState(file), before);
  store.setOverlayConfig("o", {{"title", "Ada"}});
  EXPECT_EQ(SourcesStore(folder).saved.get()[0].overlayConfig, (std::map<std::string, std::string>{{"title", "Ada"}}));
}

}  // namespace
}  // namespace tavorin

#include "stores/OverlayStore.h"

#include <gtest/gtest.h>

#include "support/TempDir.h"

namespace tavorin {
namespace {

TEST(OverlayStore, AddsDuplicatesImportsAndRemovesDocuments) {
  testing::TempDir root;
  ShowFolder folder(root.path());
  OverlayStore store(folder);
  auto first = store.add("Lower Third", "<p>one</p>");
  auto second = store.add("Lower Third", "<p>one</p>");
  ASSERT_TRUE(first && second);
  EXPECT_NE(first->fileName, second->fileName);
  EXPECT_EQ(first->fileName, first->id.toString() + ".html");
  auto copy = store.duplicate(first->id);
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy->name, "Lower Third copy");
  EXPECT_EQ(testing::readFile(store.fileURL(*copy)), "<p>one</p>");
  testing::writeFile(root / "Score board.html", "<p>score</p>");
  auto imported = store.importFile(root / "Score board.html");
  ASSERT_TRUE(imported);
  EXPECT_EQ(imported->name, "Score board");

  store.remove(first->id);
  EXPECT_FALSE(std::filesystem::exists(store.fileURL(*first)));
  EXPECT_EQ(OverlayStore(folder).overlays.get(), (std::vector<OverlayItem>{*second, *copy, *imported}));
  EXPECT_FALSE(store.importFile(root / "missing.html"));
}

TEST(OverlayStore, UnreadableIndexIsAnEmptyLibrary) {
  testing::TempDir root;
  ShowFolder folder(root.path());
  testing::writeFile(folder.library(ShowFolder::Library::overlays) / "index.json", "[{\"id\":1}]");
  EXPECT_TRUE(OverlayStore(folder).overlays.get().empty());
}

}  // namespace
}  // namespace tavorin

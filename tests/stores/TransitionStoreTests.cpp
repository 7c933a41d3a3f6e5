#include "stores/TransitionStore.h"

#include <gtest/gtest.h>

#include "support/StoreTestFiles.h"
#include "model/CustomTransitionJson.h"

namespace tavorin {
namespace {

using testing::fileState;
using testing::TempDir;
using testing::writeFile;

class TransitionStoreTests : public ::testing::Test {
 protected:
  TempDir dir;
  ShowFolder folder{dir / "Tavorin"};
  std::filesystem::path file = folder.file("transitions.json");
};

TEST_F(TransitionStoreTests, UpsertReplacesByIdAndSurvivesReopening) {
  TransitionStore store(folder);
  CustomTransition sweep;
  sweep.name = "Sweep";
  CustomTransition wipe;
  wipe.name = "Wipe";
  store.upsert(sweep);
  store.upsert(wipe);
  sweep.duration = 1.5;
  store.upsert(sweep);

  TransitionStore reopened(folder);
  ASSERT_EQ(reopened.transitions->size(), 2u);
  EXPECT_EQ(reopened.transitions.get()[0], sweep);
  EXPECT_EQ(reopened.transitions.get()[1].name, "Wipe");
  EXPECT_EQ(reopened.find(wipe.id)->name, "Wipe");
  EXPECT_FALSE(reopened.find(Uuid::make()));
}

}  // namespace
}  // namespace tavorin

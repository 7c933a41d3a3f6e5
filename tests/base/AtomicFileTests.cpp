#include "base/AtomicFile.h"

#include <gtest/gtest.h>

#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::entriesIn;
using testing::readFile;
using testing::TempDir;
using testing::writeFile;

TEST(AtomicFileTests, ReplacesTheFileAndLeavesNoTemporaryBehind) {
  TempDir dir;
  writeFile(dir / "a.json", "old contents that are longer");
  ASSERT_TRUE(writeFileAtomically(dir / "a.json", "new"));
  EXPECT_EQ(readFile(dir / "a.json"), "new");
  EXPECT_EQ(entriesIn(dir.path()), 1u);
}

TEST(AtomicFileTests, FailureLeavesTheTargetAndNoTemporary) {
  TempDir dir;
  EXPECT_FALSE(writeFileAtomically(dir / "missing" / "a.json", "x"));
  std::filesystem::create_directory(dir / "taken");
  writeFile(dir / "taken" / "inside", "kept");
  EXPECT_FALSE(writeFileAtomically(dir / "taken", "x"));
  EXPECT_EQ(readFile(dir / "taken" / "inside"), "kept");
  EXPECT_EQ(entriesIn(dir.path()), 1u);
}

}  // namespace
}  // namespace tavorin

#include "base/AtomicFile.h"

#include <gtest/gtest.h>

#include "stores/JsonFile.h"
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

TEST(AtomicFileTests, InvalidUtf8IsReplacedRatherThanBlockingTheWrite) {
  TempDir dir;
  const std::vector<std::string> names = {"ok", std::string("bad\xff")};
  ASSERT_TRUE(writeJsonFile(dir / "n.json", names));
  auto back = readJsonFile<std::vector<std::string>>(dir / "n.json");
  ASSERT_TRUE(back);
  EXPECT_EQ((*back)[0], "ok");
  EXPECT_EQ((*back)[1], "bad\xEF\xBF\xBD");
}

}  // namespace
}  // namespace tavorin

#include "stores/LibraryImport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "base/Uuid.h"
#include "stores/RecordingsRoot.h"
#include "stores/ShowFolder.h"
#include "stores/TimeStamp.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::entriesIn;
using testing::readFile;
using testing::TempDir;
using testing::writeFile;

TEST(LibraryTests, LibraryFolderIsMadeWithTheRootOnFirstUse) {
  TempDir dir;
  ShowFolder folder(dir / "missing" / "Tavorin");
  const auto overlays = folder.library(ShowFolder::Library::overlays);
  EXPECT_EQ(overlays, dir / "missing" / "Tavorin" / "Overlays");
  EXPECT_TRUE(std::filesystem::is_directory(overlays));
}

TEST(LibraryTests, FileAlreadyInTheLibraryIsUsedWhereItStands) {
  TempDir dir;
  const auto images = ShowFolder(dir.path()).library(ShowFolder::Library::images);
  writeFile(images / "logo.png", "png");
  // A spelling that is not literally the folder's own path still counts as inside.
  const auto indirect = dir / "Images" / "." / ".." / "Images" / "logo.png";
  EXPECT_EQ(importIntoLibrary(indirect, images), indirect);
  EXPECT_EQ(entriesIn(images), 1u);
}

TEST(LibraryTests, OutsideFileIsCopiedUnderAFreshName) {
  TempDir dir;
  const auto images = dir / "Images";
  // A sibling whose name merely begins with the library's is outside it.
  writeFile(dir / "Images2" / "logo.png", "png");
  const auto used = importIntoLibrary(dir / "Images2" / "logo.png", images);
  EXPECT_EQ(used.parent_path(), images);
  const auto name = used.filename().string();
  ASSERT_EQ(name.size(), 36u + 1 + 8);
  EXPECT_TRUE(Uuid::parse(name.substr(0, 36)));
  EXPECT_EQ(name.substr(36), "-logo.png");
  EXPECT_EQ(readFile(used), "png");
  EXPECT_EQ(readFile(dir / "Images2" / "logo.png"), "png");
}

TEST(LibraryTests, FailedCopyFallsBackToTheFileItself) {
  TempDir dir;
  writeFile(dir / "blocker", "a file where the library folder should be");
  const auto source = dir / "missing.png";
  EXPECT_EQ(importIntoLibrary(source, dir / "Images"), source);
  writeFile(source, "png");
  EXPECT_EQ(importIntoLibrary(source, dir / "blocker" / "Images"), source);
}

TEST(LibraryTests, RecordingsRootIsTheCustomFolderMadeWithItsParents) {
  TempDir dir;
  const auto custom = dir / "a" / "b" / "Recordings";
  EXPECT_EQ(recordingsRoot(custom.string(), dir / "default"), custom);
  EXPECT_TRUE(std::filesystem::is_directory(custom));
  EXPECT_FALSE(std::filesystem::exists(dir / "default"));
}

TEST(LibraryTests, RecordingsRootFallsBackWhenTheCustomFolderCannotBeMade) {
  TempDir dir;
  writeFile(dir / "file", "not a folder");
  const auto fallback = dir / "Videos" / "Tavorin";
  EXPECT_EQ(recordingsRoot((dir / "file" / "Recordings").string(), fallback), fallback);
  EXPECT_TRUE(std::filesystem::is_directory(fallback));
  EXPECT_EQ(recordingsRoot("", fallback), fallback);
}

TEST(LibraryTests, TildeExpandsToTheHomeFolder) {
  const char* home = std::getenv("HOME");
  ASSERT_NE(home, nullptr);
  EXPECT_EQ(expandTilde("~"), home);
  EXPECT_EQ(expandTilde("~/Movies/Show"), std::string(home) + "/Movies/Show");
  EXPECT_EQ(expandTilde("~root/x"), "/root/x");
  EXPECT_EQ(expandTilde("/abs/~x"), "/abs/~x");
  EXPECT_EQ(expandTilde("~no-such-user-tavorin/x"), "~no-such-user-tavorin/x");
}

TEST(LibraryTests, TimeStampIsLocalYearToSecond) {
  std::tm local{};
  local.tm_year = 2024 - 1900;
  local.tm_mon = 2;
  local.tm_mday = 5;
  local.tm_hour = 7;
  local.tm_min = 8;
  local.tm_sec = 9;
  local.tm_isdst = -1;
  const auto time = std::chrono::system_clock::from_time_t(std::mktime(&local));
  EXPECT_EQ(fileTimeStamp(time), "2024-03-05-070809");
}

}  // namespace
}  // namespace tavorin

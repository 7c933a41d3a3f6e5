#include "platform/secrets/FileSecretStore.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::TempDir;

mode_t modeOf(const std::filesystem::path& path) {
  struct stat info {};
  EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
  return info.st_mode & 07777;
}

TEST(FileSecretStore, KeepsPasswordsBetweenStoresAndRemovesThem) {
  TempDir dir;
  const auto file = dir / "Tavorin" / "secrets.json";
  {
    FileSecretStore store(file, nullptr);
    EXPECT_EQ(store.password("svc", "a"), std::nullopt);
    ASSERT_TRUE(store.setPassword("svc", "a", "first"));
    ASSERT_TRUE(store.setPassword("svc", "b", "second"));
    ASSERT_TRUE(store.setPassword("other", "a", "third"));
    ASSERT_TRUE(store.setPassword("svc", "a", "replaced"));
  }
  FileSecretStore reopened(file, nullptr);
  EXPECT_EQ(reopened.password("svc", "a"), "replaced");
  EXPECT_EQ(reopened.password("svc", "b"), "second");
  EXPECT_EQ(reopened.password("other", "a"), "third");

  reopened.removePassword("svc", "a");
  reopened.removePassword("missing", "a");
  EXPECT_EQ(reopened.password("svc", "a"), std::nullopt);
  EXPECT_EQ(reopened.password("svc", "b"), "second");
  EXPECT_EQ(FileSecretStore(file, nullptr).password("other", "a"), "third");
}

TEST(FileSecretStore, FileIsReadableOnlyByTheOwner) {
  TempDir dir;
  const auto file = dir / "secrets.json";
  FileSecretStore store(file, nullptr);
  ASSERT_TRUE(store.setPassword("svc", "a", "secret"));
  EXPECT_EQ(modeOf(file), 0600u);
  ASSERT_TRUE(store.setPassword("svc", "b", "secret"));
  EXPECT_EQ(modeOf(file), 0600u);
  // No temporary copy is left beside it.
  EXPECT_EQ(testing::entriesIn(dir.path()), 1u);

  ASSERT_EQ(::chmod(file.c_str(), 0644), 0);
  FileSecretStore tightened(file, nullptr);
  EXPECT_EQ(modeOf(file), 0600u);
  EXPECT_EQ(tightened.password("svc", "a"), "secret");
}

TEST(FileSecretStore, CorruptFileReadsAsEmptyIsLoggedAndIsReplacedOnWrite) {
  TempDir dir;
  const auto file = dir / "secrets.json";
  std::vector<std::string> log;
  for (const std::string bad : {"{not json", "[1, 2]", R"({"svc": {"a": 5}})", R"({"svc": "a"})"}) {
    log.clear();
    testing::writeFile(file, bad);
    FileSecretStore store(file, [&](const std::string& line) { log.push_back(line); });
    EXPECT_EQ(store.password("svc", "a"), std::nullopt) << bad;
    EXPECT_EQ(store.password("svc", "b"), std::nullopt) << bad;
    EXPECT_EQ(log.size(), 1u) << bad;
  }
  std::vector<std::string> writeLog;
  FileSecretStore store(file, [&](const std::string& line) { writeLog.push_back(line); });
  ASSERT_TRUE(store.setPassword("svc", "a", "fresh"));
  EXPECT_EQ(FileSecretStore(file, nullptr).password("svc", "a"), "fresh");
}

TEST(FileSecretStore, FailedWriteReturnsFalseSaysWhyAndLeavesNoTemporaryFile) {
  TempDir dir;
  // A folder where the file should be: it cannot be read, and renaming over it fails.
  const auto file = dir / "secrets.json";
  std::filesystem::create_directory(file);
  testing::writeFile(file / "keep", "x");
  std::vector<std::string> log;
  FileSecretStore store(file, [&](const std::string& line) { log.push_back(line); });
  EXPECT_FALSE(store.setPassword("svc", "a", "secret"));
  ASSERT_FALSE(log.empty());
  EXPECT_NE(log.back().find("secrets.json"), std::string::npos);
  EXPECT_EQ(testing::entriesIn(dir.path()), 1u);
}

}  // namespace
}  // namespace tavorin

#pragma once

#include <filesystem>
#include <string>

namespace tavorin::testing {

// A fresh folder under the system's temp folder, removed with everything in it
// when the object goes.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

// Whole-file helpers for tests that write bad files or read what the system wrote.
std::string readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, const std::string& contents);
// How many entries a folder holds (a stray temporary file shows up here).
std::size_t entriesIn(const std::filesystem::path& folder);

}  // namespace tavorin::testing

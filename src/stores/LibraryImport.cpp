#include "stores/LibraryImport.h"

#include <algorithm>
#include <system_error>

#include "base/Uuid.h"

namespace tavorin {

namespace {

// Absolute, with "." and ".." and symbolic links resolved as far as the path exists.
std::filesystem::path standardised(const std::filesystem::path& path) {
  std::error_code ec;
  auto result = std::filesystem::weakly_canonical(path, ec);
  if (ec) return std::filesystem::absolute(path, ec).lexically_normal();
  return result;
}

// Compares whole components, so "Images2/x" does not count as inside "Images".
bool isInside(const std::filesystem::path& path, const std::filesystem::path& folder) {
  auto folderEnd = folder.end();
  // A trailing separator leaves an empty last component.
  if (folder.has_relative_path() && folder.filename().empty()) --folderEnd;
  auto [folderIt, pathIt] = std::mismatch(folder.begin(), folderEnd, path.begin(), path.end());
  return folderIt == folderEnd && pathIt != path.end();
}

}  // namespace

std::filesystem::path importIntoLibrary(const std::filesystem::path& file, const std::filesystem::path& libraryFolder) {
  if (isInside(standardised(file), standardised(libraryFolder))) return file;
  std::error_code ec;
  std::filesystem::create_directories(libraryFolder, ec);
  const auto copy = libraryFolder / (Uuid::make().toString() + "-" + file.filename().string());
  if (std::filesystem::copy_file(file, copy, ec) && !ec) return copy;
  std::filesystem::remove(copy, ec);  // a half-written copy is of no use
  return file;
}

}  // namespace tavorin

#pragma once

#include <filesystem>

namespace tavorin {

// Brings a file the show must keep into a library folder and returns the path
// the show should use. A file already inside `libraryFolder` is used where it
// stands; any other is copied in as "<fresh UUID>-<file name>". When the copy
// fails the file's own path is returned, so the import still works while the
// original stays.
std::filesystem::path importIntoLibrary(const std::filesystem::path& file, const std::filesystem::path& libraryFolder);

}  // namespace tavorin

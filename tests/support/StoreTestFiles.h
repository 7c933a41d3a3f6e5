#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <string>

#include "model/MixerScene.h"
#include "support/TempDir.h"

namespace tavorin::testing {

// A file's identity and contents. The atomic writer always puts a new inode in
// place, so an unchanged state means the file was not written at all.
struct FileState {
  std::uintmax_t inode = 0;
  std::string contents;
  friend bool operator==(const FileState&, const FileState&) = default;
};

inline FileState fileState(const std::filesystem::path& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return {};
  return {static_cast<std::uintmax_t>(info.st_ino), readFile(path)};
}

// A scene of one layer showing `sourceID`.
inline MixerScene sceneWith(std::string name, std::string sourceID) {
  auto scene = MixerScene::named(std::move(name));
  scene.layers.push_back(LayerState::make(std::move(sourceID)));
  return scene;
}

}  // namespace tavorin::testing

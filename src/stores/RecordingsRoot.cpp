#include "stores/RecordingsRoot.h"

#include <glib.h>
#include <pwd.h>
#include <unistd.h>

#include <optional>
#include <system_error>
#include <vector>

namespace tavorin {

namespace {

bool usableFolder(const std::filesystem::path& folder) {
  std::error_code ec;
  std::filesystem::create_directories(folder, ec);
  return std::filesystem::is_directory(folder, ec) && ::access(folder.c_str(), W_OK | X_OK) == 0;
}

std::optional<std::string> homeOf(const std::string& user) {
  if (user.empty()) return std::string(g_get_home_dir());
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  if (getpwnam_r(user.c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found) return std::nullopt;
  return std::string(found->pw_dir);
}

}  // namespace

std::filesystem::path defaultRecordingsRoot() {
  const char* videos = g_get_user_special_dir(G_USER_DIRECTORY_VIDEOS);
  const std::filesystem::path base = videos ? videos : g_get_home_dir();
  return base / "Tavorin";
}

std::string expandTilde(const std::string& path) {
  if (path.empty() || path[0] != '~') return path;
  const auto slash = path.find('/');
  const auto user = path.substr(1, slash == std::string::npos ? std::string::npos : slash - 1);
  auto home = homeOf(user);
  if (!home) return path;  // an unknown user: the path stays as written
  return slash == std::string::npos ? *home : *home + path.substr(slash);
}

std::filesystem::path recordingsRoot(const std::string& recordingsFolderPath, const std::filesystem::path& fallback) {
  if (!recordingsFolderPath.empty()) {
    std::filesystem::path custom = expandTilde(recordingsFolderPath);
    if (usableFolder(custom)) return custom;
  }
  std::error_code ec;
  std::filesystem::create_directories(fallback, ec);
  return fallback;
}

}  // namespace tavorin

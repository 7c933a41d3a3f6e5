#include "stores/ShowFolder.h"

#include <glib.h>

#include <system_error>

namespace tavorin {

std::filesystem::path ShowFolder::defaultRoot() { return std::filesystem::path(g_get_user_data_dir()) / "Tavorin"; }

void ShowFolder::ensureRoot() const {
  std::error_code ec;
  std::filesystem::create_directories(root_, ec);
}

std::filesystem::path ShowFolder::library(Library which) const {
  auto folder = root_ / enumName(which);
  std::error_code ec;
  std::filesystem::create_directories(folder, ec);
  return folder;
}

}  // namespace tavorin

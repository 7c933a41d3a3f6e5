#include "platform/desktop/DiskSpace.h"

#include <sys/statvfs.h>

namespace tavorin {

std::optional<int> diskFreePercent(const std::filesystem::path& path) {
  struct statvfs volume {};
  if (::statvfs(path.c_str(), &volume) != 0 || volume.f_blocks == 0) return std::nullopt;
  // Both counts are in fragments, so the block size cancels out.
  return static_cast<int>(static_cast<unsigned long long>(volume.f_bavail) * 100ULL /
                          static_cast<unsigned long long>(volume.f_blocks));
}

}  // namespace tavorin

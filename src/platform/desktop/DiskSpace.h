#pragma once

#include <filesystem>
#include <optional>

namespace tavorin {

// The share of the volume holding `path` that an ordinary user may still
// fill (blocks kept for root do not count), in whole percent; nothing when
// the volume cannot be asked.
std::optional<int> diskFreePercent(const std::filesystem::path& path);

}  // namespace tavorin

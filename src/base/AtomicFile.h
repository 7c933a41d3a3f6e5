#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace tavorin {

// Replaces `path` with `contents` so that a crash leaves either the old or the
// new file: a temporary file in the same folder is written, synced and renamed
// over the target. False when any step failed; the target is then untouched.
bool writeFileAtomically(const std::filesystem::path& path, std::string_view contents);

// The whole contents of a regular file; nothing when it is missing or unreadable.
std::optional<std::string> readWholeFile(const std::filesystem::path& path);

}  // namespace tavorin

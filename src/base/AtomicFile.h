#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace tavorin {

// Replaces `path` with `contents` so that a crash leaves either the old or the
// new file: a temporary file in the same folder is written, synced and renamed
// over the target. False when any step failed (errno says why); the target is
// then untouched. A private file is readable by its owner alone from the first
// byte, temporary copy included; otherwise the umask decides, as for any file
// the user creates.
enum class FileAccess { userDefault, ownerOnly };
bool writeFileAtomically(const std::filesystem::path& path, std::string_view contents,
                         FileAccess access = FileAccess::userDefault);

// The whole contents of a regular file; nothing when it is missing or unreadable.
std::optional<std::string> readWholeFile(const std::filesystem::path& path);

}  // namespace tavorin

#pragma once

#include <filesystem>
#include <string>

namespace tavorin {

// "Tavorin" in the user's Videos folder ($XDG_VIDEOS_DIR), or in the home
// folder when the system names none.
std::filesystem::path defaultRecordingsRoot();

// A leading "~" or "~user" replaced by that user's home folder; any other path as it is.
std::string expandTilde(const std::string& path);

// Where recordings go: `recordingsFolderPath` (tilde expanded) when it is set
// and can be made and written to; otherwise `fallback`. The folder chosen is
// made with its parents.
std::filesystem::path recordingsRoot(const std::string& recordingsFolderPath,
                                     const std::filesystem::path& fallback = defaultRecordingsRoot());

}  // namespace tavorin

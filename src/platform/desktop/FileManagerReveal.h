#pragma once

#include <filesystem>
#include <functional>

namespace tavorin {

// Shows `item` selected in its folder in the desktop's file manager
// (org.freedesktop.FileManager1.ShowItems on the session bus). Returns at
// once; `answered`, when given, is told on the GLib main context whether a
// file manager took the request. Without a bus or a file manager nothing happens.
void revealInFileManager(const std::filesystem::path& item, std::function<void(bool answered)> answered = {});

}  // namespace tavorin

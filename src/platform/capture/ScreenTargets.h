#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavorin {

// What a screen capture can show, as one enumeration found it.
struct DisplayTarget {
  std::uint32_t id = 0;    // FNV-1a-32 of the RandR output name ("DP-1"): stable across restarts
  std::string outputName;  // "DP-1"; the operator reads "Display DP-1"
  int x = 0, y = 0, width = 0, height = 0;  // on the root window, in pixels
  // A share the desktop's portal grants (Wayland): the operator picks the
  // screen or window in the desktop's own dialog, so nothing is listed.
  bool screenShare = false;
  friend bool operator==(const DisplayTarget&, const DisplayTarget&) = default;
};

struct WindowTarget {
  std::uint32_t id = 0;  // the client window's XID: valid for this X server's run only
  std::string title;     // UTF-8; may be empty
  std::string appID;     // the owning application's Linux app id
  std::string appName;   // the owning application's name
  int width = 0, height = 0;
  friend bool operator==(const WindowTarget&, const WindowTarget&) = default;
};

struct ApplicationTarget {
  std::string appID;
  std::string name;
  friend bool operator==(const ApplicationTarget&, const ApplicationTarget&) = default;
};

struct ScreenTargets {
  std::vector<DisplayTarget> displays;
  // Top-level windows with a non-empty title, wider and higher than 80 logical pixels, on screen.
  std::vector<WindowTarget> windows;
  std::vector<ApplicationTarget> applications;
  friend bool operator==(const ScreenTargets&, const ScreenTargets&) = default;
};

// A display's id from its output name: FNV-1a, 32 bits, so the same monitor
// keeps its id across restarts and backends.
constexpr std::uint32_t displayIDFor(std::string_view outputName) {
  std::uint32_t hash = 2166136261u;
  for (const char c : outputName) {
    hash ^= static_cast<std::uint8_t>(c);
    hash *= 16777619u;
  }
  return hash;
}

// What one screen source captures.
struct ScreenTarget {
  enum class Kind { display, window, application };
  Kind kind = Kind::display;
  DisplayTarget display;  // for display, and the display an application is captured on
  WindowTarget window;
  ApplicationTarget application;
  // For a screen share: the portal's token of the share granted before; empty the first time.
  std::string screenShareToken;
  friend bool operator==(const ScreenTarget&, const ScreenTarget&) = default;
};

}  // namespace tavorin

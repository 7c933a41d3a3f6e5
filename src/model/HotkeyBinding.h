#pragma once

#include <cstdint>
#include <string>

namespace tavorin {

// A key that presses a deck tile from anywhere on the desktop. The key and
// modifier values are the ones the show files have always stored (position
// based key codes; modifier bits command 256, shift 512, option/Alt 2048,
// control 4096), so a deck moves between machines unchanged; the platform
// layer translates them when it registers the key.
struct HotkeyBinding {
  std::uint32_t keyCode = 0;
  std::uint32_t carbonModifiers = 0;
  // What the tile shows, for instance "Ctrl+Alt+K".
  std::string display;

  friend bool operator==(const HotkeyBinding&, const HotkeyBinding&) = default;
};

namespace hotkey_modifier {
inline constexpr std::uint32_t command = 256;  // Super on PC keyboards
inline constexpr std::uint32_t shift = 512;
inline constexpr std::uint32_t option = 2048;  // Alt
inline constexpr std::uint32_t control = 4096;
}  // namespace hotkey_modifier

}  // namespace tavorin

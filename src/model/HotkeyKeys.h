#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "model/HotkeyBinding.h"

namespace tavorin {

// One key a hotkey may use: its stored code and its Linux one.
struct HotkeyKey {
  std::uint32_t keyCode = 0;    // as stored in HotkeyBinding
  std::uint32_t evdevCode = 0;  // KEY_* of linux/input-event-codes.h
  const char* name = "";        // shown when the keyboard gives no text for it
  const char* keysym = "";      // its xkb keysym name on a US layout
  bool typed = false;           // types a character, which the layout may show differently
};

// Every key a hotkey may use; one table serves both directions.
std::span<const HotkeyKey> hotkeyKeys();
std::optional<std::uint32_t> evdevFromKeyCode(std::uint32_t keyCode);
std::optional<std::uint32_t> keyCodeFromEvdev(std::uint32_t evdevCode);

// Stored modifier bits (hotkey_modifier) ↔ the desktop services' (key_modifier).
std::uint32_t keyModifiersFromCarbon(std::uint32_t carbonModifiers);
std::uint32_t carbonFromKeyModifiers(std::uint32_t keyModifiers);

// What a tile shows for a key, "Ctrl+Alt+K"; `keyText` is what the keyboard
// typed, preferred for character keys so other layouts read right.
std::string hotkeyDisplay(std::uint32_t keyCode, std::uint32_t carbonModifiers, std::string_view keyText = {});

// The key as the desktop's GlobalShortcuts portal takes it, "CTRL+ALT+LOGO+m";
// empty for a key outside the table.
std::string hotkeyTriggerName(const HotkeyBinding& binding);

enum class HotkeyRefusal {
  unknownKey,     // not a key a hotkey may use (a modifier alone, a media key…)
  needsModifier,  // a plain key would fire while the operator types elsewhere
  reserved,       // Ctrl+Alt+F1–F12 switch to a text console: no program ever sees them
};

// A key pressed while the operator records a tile's hotkey, as the binding to
// store, or why it cannot be one. Keys without a modifier are taken only for
// F1–F20.
std::variant<HotkeyBinding, HotkeyRefusal> captureHotkey(std::uint32_t evdevCode, std::uint32_t keyModifiers,
                                                         std::string_view keyText);

}  // namespace tavorin

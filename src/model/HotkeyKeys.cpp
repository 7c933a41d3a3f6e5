#include "model/HotkeyKeys.h"

#include <linux/input-event-codes.h>

#include <algorithm>
#include <array>

#include "platform/desktop/GlobalKeyService.h"

namespace tavorin {
namespace {

// Stored codes name positions on the keyboard, so each maps to the key in the
// same place on a PC keyboard (Help sits where Insert is, keypad Clear where Num Lock is).
// The keysyms are what the standard Linux keymaps give each key: F13–F20 type
// XF86 keysyms there, so a desktop looking for "F13" would find no key.
constexpr auto kKeys = std::to_array<HotkeyKey>({
    {0, KEY_A, "A", "a", true},
    {1, KEY_S, "S", "s", true},
    {2, KEY_D, "D", "d", true},
    {3, KEY_F, "F", "f", true},
    {4, KEY_H, "H", "h", true},
    {5, KEY_G, "G", "g", true},
    {6, KEY_Z, "Z", "z", true},
    {7, KEY_X, "X", "x", true},
    {8, KEY_C, "C", "c", true},
    {9, KEY_V, "V", "v", true},
    {10, KEY_102ND, "<", "less", true},
    {11, KEY_B, "B", "b", true},
    {12, KEY_Q, "Q", "q", true},
    {13, KEY_W, "W", "w", true},
    {14, KEY_E, "E", "e", true},
    {15, KEY_R, "R", "r", true},
    {16, KEY_Y, "Y", "y", true},
    {17, KEY_T, "T", "t", true},
    {18, KEY_1, "1", "1", true},
    {19, KEY_2, "2", "2", true},
    {20, KEY_3, "3", "3", true},
    {21, KEY_4, "4", "4", true},
    {22, KEY_6, "6", "6", true},
    {23, KEY_5, "5", "5", true},
    {24, KEY_EQUAL, "=", "equal", true},
    {25, KEY_9, "9", "9", true},
    {26, KEY_7, "7", "7", true},
    {27, KEY_MINUS, "-", "minus", true},
    {28, KEY_8, "8", "8", true},
    {29, KEY_0, "0", "0", true},
    {30, KEY_RIGHTBRACE, "]", "bracketright", true},
    {31, KEY_O, "O", "o", true},
    {32, KEY_U, "U", "u", true},
    {33, KEY_LEFTBRACE, "[", "bracketleft", true},
    {34, KEY_I, "I", "i", true},
    {35, KEY_P, "P", "p", true},
    {36, KEY_ENTER, "Enter", "Return", false},
    {37, KEY_L, "L", "l", true},
    {38, KEY_J, "J", "j", true},
    {39, KEY_APOSTROPHE, "'", "apostrophe", true},
    {40, KEY_K, "K", "k", true},
    {41, KEY_SEMICOLON, ";", "semicolon", true},
    {42, KEY_BACKSLASH, "\\", "backslash", true},
    {43, KEY_COMMA, ",", "comma", true},
    {44, KEY_SLASH, "/", "slash", true},
    {45, KEY_N, "N", "n", true},
    {46, KEY_M, "M", "m", true},
    {47, KEY_DOT, ".", "period", true},
    {48, KEY_TAB, "Tab", "Tab", false},
    {49, KEY_SPACE, "Space", "space", false},
    {50, KEY_GRAVE, "`", "grave", true},
    {51, KEY_BACKSPACE, "Backspace", "BackSpace", false},
    {53, KEY_ESC, "Esc", "Escape", false},
    {64, KEY_F17, "F17", "XF86Launch8", false},
    {65, KEY_KPDOT, "Num.", "KP_Decimal", false},
    {67, KEY_KPASTERISK, "Num*", "KP_Multiply", false},
    {69, KEY_KPPLUS, "Num+", "KP_Add", false},
    {71, KEY_NUMLOCK, "Clear", "Num_Lock", false},
    {72, KEY_VOLUMEUP, "Volume Up", "XF86AudioRaiseVolume", false},
    {73, KEY_VOLUMEDOWN, "Volume Down", "XF86AudioLowerVolume", false},
    {74, KEY_MUTE, "Mute", "XF86AudioMute", false},
    {75, KEY_KPSLASH, "Num/", "KP_Divide", false},
    {76, KEY_KPENTER, "Num Enter", "KP_Enter", false},
    {78, KEY_KPMINUS, "Num-", "KP_Subtract", false},
    {79, KEY_F18, "F18", "XF86Launch9", false},
    {80, KEY_F19, "F19", "F19", false},
    {81, KEY_KPEQUAL, "Num=", "KP_Equal", false},
    {82, KEY_KP0, "Num0", "KP_0", false},
    {83, KEY_KP1, "Num1", "KP_1", false},
    {84, KEY_KP2, "Num2", "KP_2", false},
    {85, KEY_KP3, "Num3", "KP_3", false},
    {86, KEY_KP4, "Num4", "KP_4", false},
    {87, KEY_KP5, "Num5", "KP_5", false},
    {88, KEY_KP6, "Num6", "KP_6", false},
    {89, KEY_KP7, "Num7", "KP_7", false},
    {90, KEY_F20, "F20", "XF86AudioMicMute", false},
    {91, KEY_KP8, "Num8", "KP_8", false},
    {92, KEY_KP9, "Num9", "KP_9", false},
    {96, KEY_F5, "F5", "F5", false},
    {97, KEY_F6, "F6", "F6", false},
    {98, KEY_F7, "F7", "F7", false},
    {99, KEY_F3, "F3", "F3", false},
    {100, KEY_F8, "F8", "F8", false},
    {101, KEY_F9, "F9", "F9", false},
    {103, KEY_F11, "F11", "F11", false},
    {105, KEY_F13, "F13", "XF86Tools", false},
    {106, KEY_F16, "F16", "XF86Launch7", false},
    {107, KEY_F14, "F14", "XF86Launch5", false},
    {109, KEY_F10, "F10", "F10", false},
    {111, KEY_F12, "F12", "F12", false},
    {113, KEY_F15, "F15", "XF86Launch6", false},
    {114, KEY_INSERT, "Insert", "Insert", false},
    {115, KEY_HOME, "Home", "Home", false},
    {116, KEY_PAGEUP, "PgUp", "Prior", false},
    {117, KEY_DELETE, "Del", "Delete", false},
    {118, KEY_F4, "F4", "F4", false},
    {119, KEY_END, "End", "End", false},
    {120, KEY_F2, "F2", "F2", false},
    {121, KEY_PAGEDOWN, "PgDn", "Next", false},
    {122, KEY_F1, "F1", "F1", false},
    {123, KEY_LEFT, "←", "Left", false},
    {124, KEY_RIGHT, "→", "Right", false},
    {125, KEY_DOWN, "↓", "Down", false},
    {126, KEY_UP, "↑", "Up", false},
});

const HotkeyKey* byKeyCode(std::uint32_t keyCode) {
  const auto found = std::find_if(kKeys.begin(), kKeys.end(), [&](const HotkeyKey& k) { return k.keyCode == keyCode; });
  return found == kKeys.end() ? nullptr : &*found;
}

const HotkeyKey* byEvdev(std::uint32_t evdevCode) {
  const auto found =
      std::find_if(kKeys.begin(), kKeys.end(), [&](const HotkeyKey& k) { return k.evdevCode == evdevCode; });
  return found == kKeys.end() ? nullptr : &*found;
}

bool isFunctionKey(std::uint32_t evdevCode) {
  return (evdevCode >= KEY_F1 && evdevCode <= KEY_F10) || evdevCode == KEY_F11 || evdevCode == KEY_F12 ||
         (evdevCode >= KEY_F13 && evdevCode <= KEY_F20);
}

// Written in this order, whichever order they were pressed in.
struct ModifierName {
  std::uint32_t carbon;
  std::uint32_t key;
  const char* display;
  const char* trigger;
};
constexpr ModifierName kModifiers[] = {
    {hotkey_modifier::control, key_modifier::control, "Ctrl+", "CTRL+"},
    {hotkey_modifier::option, key_modifier::alt, "Alt+", "ALT+"},
    {hotkey_modifier::shift, key_modifier::shift, "Shift+", "SHIFT+"},
    {hotkey_modifier::command, key_modifier::super, "Super+", "LOGO+"},
};

// Text the keyboard gave, when it is a character worth showing rather than a
// control code (Return and Tab type "\r" and "\t").
bool printable(std::string_view text) {
  return !text.empty() && std::none_of(text.begin(), text.end(), [](char c) {
    const auto u = static_cast<unsigned char>(c);
    return u < 0x20 || u == 0x7f;
  });
}

std::string upperASCII(std::string_view text) {
  std::string out(text);
  for (char& c : out) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return out;
}

}  // namespace

std::span<const HotkeyKey> hotkeyKeys() { return kKeys; }

std::optional<std::uint32_t> evdevFromKeyCode(std::uint32_t keyCode) {
  if (const HotkeyKey* key = byKeyCode(keyCode)) return key->evdevCode;
  return std::nullopt;
}

std::optional<std::uint32_t> keyCodeFromEvdev(std::uint32_t evdevCode) {
  if (const HotkeyKey* key = byEvdev(evdevCode)) return key->keyCode;
  return std::nullopt;
}

std::uint32_t keyModifiersFromCarbon(std::uint32_t carbonModifiers) {
  std::uint32_t bits = 0;
  for (const auto& m : kModifiers) {
    if (carbonModifiers & m.carbon) bits |= m.key;
  }
  return bits;
}

std::uint32_t carbonFromKeyModifiers(std::uint32_t keyModifiers) {
  std::uint32_t bits = 0;
  for (const auto& m : kModifiers) {
    if (keyModifiers & m.key) bits |= m.carbon;
  }
  return bits;
}

std::string hotkeyDisplay(std::uint32_t keyCode, std::uint32_t carbonModifiers, std::string_view keyText) {
  std::string text;
  for (const auto& m : kModifiers) {
    if (carbonModifiers & m.carbon) text += m.display;
  }
  const HotkeyKey* key = byKeyCode(keyCode);
  if (key && key->typed && printable(keyText)) return text + upperASCII(keyText);
  if (key) return text + key->name;
  return text + (printable(keyText) ? upperASCII(keyText) : "?");
}

std::string hotkeyTriggerName(const HotkeyBinding& binding) {
  const HotkeyKey* key = byKeyCode(binding.keyCode);
  if (!key) return {};
  std::string text;
  for (const auto& m : kModifiers) {
    if (binding.carbonModifiers & m.carbon) text += m.trigger;
  }
  return text + key->keysym;
}

std::variant<HotkeyBinding, HotkeyRefusal> captureHotkey(std::uint32_t evdevCode, std::uint32_t keyModifiers,
                                                         std::string_view keyText) {
  const HotkeyKey* key = byEvdev(evdevCode);
  if (!key) return HotkeyRefusal::unknownKey;
  if ((keyModifiers & key_modifier::all) == 0 && !isFunctionKey(evdevCode)) return HotkeyRefusal::needsModifier;
  const bool consoleKey = (evdevCode >= KEY_F1 && evdevCode <= KEY_F10) || evdevCode == KEY_F11 || evdevCode == KEY_F12;
  const std::uint32_t ctrlAlt = key_modifier::control | key_modifier::alt;
  if (consoleKey && (keyModifiers & ctrlAlt) == ctrlAlt) return HotkeyRefusal::reserved;
  HotkeyBinding binding{key->keyCode, carbonFromKeyModifiers(keyModifiers), {}};
  binding.display = hotkeyDisplay(binding.keyCode, binding.carbonModifiers, keyText);
  return binding;
}

}  // namespace tavorin

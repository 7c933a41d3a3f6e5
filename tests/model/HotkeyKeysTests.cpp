#include "model/HotkeyKeys.h"

#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include <set>

#include "platform/desktop/GlobalKeyService.h"

namespace tavorin {
namespace {

TEST(HotkeyKeys, EveryKeyTranslatesBothWaysAndOnlyOnce) {
  std::set<std::uint32_t> keyCodes, evdevCodes;
  for (const HotkeyKey& key : hotkeyKeys()) {
    EXPECT_TRUE(keyCodes.insert(key.keyCode).second) << key.keyCode;
    EXPECT_TRUE(evdevCodes.insert(key.evdevCode).second) << key.evdevCode;
    EXPECT_EQ(evdevFromKeyCode(key.keyCode), key.evdevCode) << key.name;
    EXPECT_EQ(keyCodeFromEvdev(key.evdevCode), key.keyCode) << key.name;
  }
  EXPECT_GE(hotkeyKeys().size(), 100u);
  EXPECT_EQ(evdevFromKeyCode(55), std::nullopt) << "Command alone is no key";
  EXPECT_EQ(keyCodeFromEvdev(KEY_LEFTCTRL), std::nullopt);
}

TEST(HotkeyKeys, ModifierBitsTranslateBothWays) {
  struct Case {
    std::uint32_t carbon, keys;
  };
  const Case cases[] = {
      {0, 0},
      {hotkey_modifier::control, key_modifier::control},
      {hotkey_modifier::option, key_modifier::alt},
      {hotkey_modifier::shift, key_modifier::shift},
      {hotkey_modifier::command, key_modifier::super},
      {6400, key_modifier::control | key_modifier::alt | key_modifier::super},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(keyModifiersFromCarbon(c.carbon), c.keys) << c.carbon;
    EXPECT_EQ(carbonFromKeyModifiers(c.keys), c.carbon) << c.keys;
  }
  EXPECT_EQ(keyModifiersFromCarbon(hotkey_modifier::control | 1), key_modifier::control) << "unknown bits dropped";
}

TEST(HotkeyKeys, CaptureTakesFunctionKeysAloneAndOthersWithAModifier) {
  using namespace key_modifier;
  struct Case {
    std::uint32_t evdev, modifiers;
    const char* text;
    std::variant<HotkeyBinding, HotkeyRefusal> expected;
  };
  const Case cases[] = {
      {KEY_F5, 0, "", HotkeyBinding{96, 0, "F5"}},
      {KEY_F20, 0, "", HotkeyBinding{90, 0, "F20"}},
      {KEY_A, 0, "a", HotkeyRefusal::needsModifier},
      {KEY_SPACE, 0, " ", HotkeyRefusal::needsModifier},
      {KEY_LEFTCTRL, control, "", HotkeyRefusal::unknownKey},
      {KEY_F5, control | alt, "", HotkeyRefusal::reserved},
      {KEY_F12, control | alt | shift, "", HotkeyRefusal::reserved},
      {KEY_F13, control | alt, "", HotkeyBinding{105, 6144, "Ctrl+Alt+F13"}},
      {KEY_A, control, "a", HotkeyBinding{0, 4096, "Ctrl+A"}},
      {KEY_K, super | shift | alt | control, "k", HotkeyBinding{40, 6912, "Ctrl+Alt+Shift+Super+K"}},
      {KEY_SPACE, alt, " ", HotkeyBinding{49, 2048, "Alt+Space"}},
      {KEY_ENTER, control, "\r", HotkeyBinding{36, 4096, "Ctrl+Enter"}},
      {KEY_ESC, shift, "\x1b", HotkeyBinding{53, 512, "Shift+Esc"}},
      {KEY_BACKSPACE, control, "\b", HotkeyBinding{51, 4096, "Ctrl+Backspace"}},
      {KEY_TAB, control, "\t", HotkeyBinding{48, 4096, "Ctrl+Tab"}},
      {KEY_LEFT, alt, "", HotkeyBinding{123, 2048, "Alt+←"}},
      {KEY_UP, alt, "", HotkeyBinding{126, 2048, "Alt+↑"}},
      {KEY_Q, control, "a", HotkeyBinding{12, 4096, "Ctrl+A"}} /* an AZERTY keyboard shows its own letter */,
      {KEY_SEMICOLON, control, "", HotkeyBinding{41, 4096, "Ctrl+;"}},
      {KEY_KP7, control, "", HotkeyBinding{89, 4096, "Ctrl+Num7"}},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(captureHotkey(c.evdev, c.modifiers, c.text), c.expected) << c.evdev << " " << c.modifiers;
  }
  EXPECT_EQ(hotkeyDisplay(999, hotkey_modifier::control), "Ctrl+?");
}

TEST(HotkeyKeys, TriggerNamesFollowTheXkbNames) {
  struct Case {
    HotkeyBinding binding;
    const char* trigger;
  };
  const Case cases[] = {
      {{46, 6400, ""}, "CTRL+ALT+LOGO+m"},
      {{96, 0, ""}, "F5"},
      {{36, 4096 | 512, ""}, "CTRL+SHIFT+Return"},
      {{49, 256, ""}, "LOGO+space"},
      {{999, 4096, ""}, ""},
  };
  for (const Case& c : cases) EXPECT_EQ(hotkeyTriggerName(c.binding), c.trigger);
}

}  // namespace
}  // namespace tavorin

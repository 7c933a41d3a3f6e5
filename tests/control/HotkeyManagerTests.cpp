// GoogleTest before Xlib, whose macros (None, Bool) clash with its names.
#include <gtest/gtest.h>

#include "control/HotkeyManager.h"

#include <X11/XKBlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <gio/gio.h>
#include <linux/input-event-codes.h>

#include <chrono>
#include <fstream>
#include <thread>

#include "model/HotkeyKeys.h"
#include "model/Json.h"
#include "peers/PrivateSessionBus.h"
#include "peers/PrivateXServer.h"
#include "peers/XTestKeyboard.h"
#include "platform/portal/GlobalShortcutsPortal.h"
#include "platform/x11/X11GlobalKeys.h"
#include "support/ChildProcess.h"
#include "support/ScopedEnvironment.h"
#include "support/TempDir.h"
#include "support/WaitFor.h"

namespace tavorin {
namespace {

using namespace key_modifier;
using testing::Keyboard;
using testing::pumpUntil;
using testing::settle;

constexpr std::uint32_t kCtrlAltSuperM[] = {
    46, hotkey_modifier::control | hotkey_modifier::option | hotkey_modifier::command};

unsigned xKeycode(std::uint32_t keyCode) { return *evdevFromKeyCode(keyCode) + 8; }

class X11Hotkeys : public ::testing::Test {
 protected:
  testing::PrivateXServer server{640, 480};
  Keyboard keyboard;
  HotkeyManager manager{X11GlobalKeys::open()};
  int fired = 0;
};

TEST_F(X11Hotkeys, AHeldKeyFiresOnceWhateverTheLocks) {
  ASSERT_TRUE(manager.mode().global);
  ASSERT_TRUE(manager.registerKey(kCtrlAltSuperM[0], kCtrlAltSuperM[1], [&] { ++fired; }));
  const unsigned m = xKeycode(kCtrlAltSuperM[0]);
  keyboard.chord({XK_Control_L, XK_Alt_L, XK_Super_L}, m, true);
  EXPECT_TRUE(pumpUntil([&] { return fired > 0; }));
  settle();
  EXPECT_EQ(fired, 1) << "held with repeats";

  for (KeySym lock : {XK_Num_Lock, XK_Caps_Lock}) {
    keyboard.tap(lock);
    keyboard.chord({XK_Control_L, XK_Alt_L, XK_Super_L}, m);
    keyboard.tap(lock);
  }
  EXPECT_TRUE(pumpUntil([&] { return fired == 3; })) << fired;

  keyboard.chord({XK_Control_L, XK_Alt_L}, m);
  keyboard.chord({XK_Control_L, XK_Alt_L, XK_Super_L, XK_Shift_L}, m);
  settle();
  EXPECT_EQ(fired, 3) << "other modifiers are other keys";
}

TEST_F(X11Hotkeys, AKeyHeldElsewhereOrAlreadyBoundIsRefused) {
  Display* other = keyboard.display();
  const unsigned f5 = xKeycode(96);
  XGrabKey(other, static_cast<int>(f5), ControlMask | Mod1Mask, DefaultRootWindow(other), False, GrabModeAsync,
           GrabModeAsync);
  XSync(other, False);
  EXPECT_FALSE(manager.registerKey(96, hotkey_modifier::control | hotkey_modifier::option, [&] { ++fired; }));
  EXPECT_FALSE(manager.registerKey(52, hotkey_modifier::control, [&] { ++fired; })) << "no such key";
  ASSERT_TRUE(manager.registerKey(96, 0, [&] { ++fired; }));
  EXPECT_FALSE(manager.registerKey(96, 0, [&] { fired += 10; })) << "one key, one tile";

  keyboard.chord({XK_Control_L, XK_Alt_L}, f5);
  keyboard.chord({}, f5);
  EXPECT_TRUE(pumpUntil([&] { return fired > 0; }));
  settle();
  EXPECT_EQ(fired, 1);
}

TEST_F(X11Hotkeys, RemoveAllGivesEveryKeyBack) {
  ASSERT_TRUE(manager.registerKey(kCtrlAltSuperM[0], kCtrlAltSuperM[1], [&] { ++fired; }));
  ASSERT_TRUE(manager.registerKey(122, hotkey_modifier::shift, [&] { ++fired; }));
  manager.removeAll();
  keyboard.chord({XK_Control_L, XK_Alt_L, XK_Super_L}, xKeycode(kCtrlAltSuperM[0]));
  settle();
  EXPECT_EQ(fired, 0);
  Display* other = keyboard.display();
  XGrabKey(other, static_cast<int>(xKeycode(122)), ShiftMask, DefaultRootWindow(other), False, GrabModeAsync,
           GrabModeAsync);
  XSync(other, False);
  EXPECT_TRUE(manager.registerKey(46, hotkey_modifier::control, [] {})) << "a fresh start";
  HotkeyManager second{X11GlobalKeys::open()};
  EXPECT_FALSE(second.registerKey(46, hotkey_modifier::control, [] {})) << "still ours until removed";
  manager.removeAll();
  EXPECT_TRUE(second.registerKey(46, hotkey_modifier::control, [] {}));
}

TEST_F(X11Hotkeys, ALostServerLeavesKeysToTheWindow) {
  ASSERT_TRUE(manager.registerKey(kCtrlAltSuperM[0], kCtrlAltSuperM[1], [&] { ++fired; }));
  manager.pressLocal(KEY_M, control | alt | super);
  EXPECT_EQ(fired, 0) << "while global the window's presses are the grab's";
  server.kill();
  EXPECT_TRUE(pumpUntil([&] { return !manager.mode().global; }));
  EXPECT_FALSE(manager.mode().message.empty());
  manager.pressLocal(KEY_M, control | alt | super);
  EXPECT_EQ(fired, 1);
}

// The table's positions read as the keys a US keyboard names them, on the X server's own keymap.
TEST_F(X11Hotkeys, EveryKeyIsWhereTheUSKeymapPutsIt) {
  for (const HotkeyKey& key : hotkeyKeys()) {
    const KeySym expected = XStringToKeysym(key.keysym);
    ASSERT_NE(expected, NoSymbol) << key.keysym;
    const KeyCode keycode = static_cast<KeyCode>(key.evdevCode + 8);
    const KeySym levels[] = {XkbKeycodeToKeysym(keyboard.display(), keycode, 0, 0),
                             XkbKeycodeToKeysym(keyboard.display(), keycode, 0, 1)};
    if (levels[0] == NoSymbol) continue;  // a key this keymap leaves blank (F19)
    EXPECT_TRUE(levels[0] == expected || levels[1] == expected)
        << key.name << ": " << XKeysymToString(levels[0]) << " instead of " << key.keysym;
  }
}

class PortalHotkeys : public ::testing::Test {
 protected:
  PortalHotkeys() { environment.set("DISPLAY", std::nullopt); }

  std::unique_ptr<testing::ChildProcess> startPortal(std::vector<std::string> extra = {}) {
    std::vector<std::string> argv{"/usr/bin/python3", TAVORIN_TESTS_DIR "/peers/scripts/global_shortcuts_portal.py",
                                  (dir / "calls.jsonl").string()};
    argv.insert(argv.end(), extra.begin(), extra.end());
    auto portal = std::make_unique<testing::ChildProcess>(argv, dir / "portal.log");
    EXPECT_TRUE(testing::waitFor([] { return GlobalShortcutsPortal::open() != nullptr; }))
        << testing::logTail(dir / "portal.log");
    return portal;
  }
  std::vector<Json> calls(const std::string& method) {
    std::vector<Json> found;
    std::ifstream file(dir / "calls.jsonl");
    for (std::string line; std::getline(file, line);) {
      Json call = Json::parse(line);
      if (call["method"] == method) found.push_back(call);
    }
    return found;
  }
  void press(const std::string& shortcut) {
    GDBusConnection* connection = g_dbus_connection_new_for_address_sync(
        bus.address().c_str(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr);
    ASSERT_NE(connection, nullptr);
    GVariant* reply = g_dbus_connection_call_sync(connection, "org.freedesktop.portal.Desktop",
                                                  "/org/freedesktop/portal/desktop", "org.tavorin.Test", "Activate",
                                                  g_variant_new("(s)", shortcut.c_str()), nullptr,
                                                  G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr);
    EXPECT_NE(reply, nullptr);
    if (reply) g_variant_unref(reply);
    g_dbus_connection_close_sync(connection, nullptr, nullptr);
    g_object_unref(connection);
  }

  testing::ScopedEnvironment environment;
  testing::PrivateSessionBus bus{false};
  testing::TempDir dir;
};

TEST_F(PortalHotkeys, WithoutAPortalKeysWorkWhileTheWindowHasFocus) {
  HotkeyManager manager{makeGlobalKeyService()};
  EXPECT_EQ(manager.mode(), (GlobalKeyMode{false, kFocusOnlyHotkeysMessage}));
  int fired = 0;
  ASSERT_TRUE(manager.registerKey(kCtrlAltSuperM[0], kCtrlAltSuperM[1], [&] { ++fired; }));
  EXPECT_FALSE(manager.registerKey(52, 0, [&] { ++fired; }));
  manager.pressLocal(KEY_M, control | alt);
  manager.pressLocal(KEY_N, control | alt | super);
  EXPECT_EQ(fired, 0);
  manager.pressLocal(KEY_M, control | alt | super);
  EXPECT_EQ(fired, 1);

  HotkeyManager none{nullptr};
  EXPECT_FALSE(none.registerKey(96, 0, [] {}));
  EXPECT_FALSE(none.mode().global);
}

TEST_F(PortalHotkeys, TheDesktopGetsOurTriggersAndActivationRunsTheirActions) {
  auto portal = startPortal();
  HotkeyManager manager{makeGlobalKeyService()};
  ASSERT_TRUE(manager.mode().global);
  std::vector<std::string> fired;
  ASSERT_TRUE(manager.registerKey(kCtrlAltSuperM[0], kCtrlAltSuperM[1], [&] { fired.push_back("m"); }));
  ASSERT_TRUE(manager.registerKey(96, 0, [&] { fired.push_back("F5"); }));
  ASSERT_TRUE(pumpUntil([&] { return !calls("BindShortcuts").empty(); }));
  settle();
  ASSERT_EQ(calls("BindShortcuts").size(), 1u) << "both keys in one session";
  const Json shortcuts = calls("BindShortcuts")[0]["shortcuts"];
  ASSERT_EQ(shortcuts.size(), 2u);
  EXPECT_EQ(shortcuts[0][1]["preferred_trigger"], "CTRL+ALT+LOGO+m");
  EXPECT_EQ(shortcuts[0][1]["description"], "Tavorin deck tile (Ctrl+Alt+Super+M)");
  EXPECT_EQ(shortcuts[1][1]["preferred_trigger"], "F5");

  press(shortcuts[1][0].get<std::string>());
  EXPECT_TRUE(pumpUntil([&] { return !fired.empty(); }));
  EXPECT_EQ(fired, std::vector<std::string>{"F5"});

  manager.removeAll();
  EXPECT_TRUE(pumpUntil([&] { return !calls("Close").empty(); }));
  press(shortcuts[1][0].get<std::string>());
  settle();
  EXPECT_EQ(fired.size(), 1u);
}

TEST_F(PortalHotkeys, ARefusalLeavesKeysToTheWindow) {
  auto portal = startPortal({"--refuse"});
  HotkeyManager manager{makeGlobalKeyService()};
  int fired = 0;
  ASSERT_TRUE(manager.registerKey(96, 0, [&] { ++fired; }));
  EXPECT_TRUE(pumpUntil([&] { return !manager.mode().global; }));
  EXPECT_FALSE(manager.mode().message.empty());
  manager.pressLocal(KEY_F5, 0);
  EXPECT_EQ(fired, 1);
}

}  // namespace
}  // namespace tavorin

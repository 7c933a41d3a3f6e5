#pragma once

// GoogleTest before Xlib in the including file: Xlib's macros (None, Bool)
// clash with its names.
#include <X11/XKBlib.h>
#include <X11/extensions/XTest.h>
#include <glib.h>

#include <chrono>
#include <functional>
#include <initializer_list>
#include <thread>

#include "platform/x11/X11Connection.h"

// Key presses for the hotkey tests: XTEST on a connection of the test's own,
// and the GLib main context served while the presses arrive.
namespace tavorin::testing {

// Serves the main context until `done` holds, or for `seconds` when it never does.
inline bool pumpUntil(const std::function<bool()>& done, double seconds = 5) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}
inline void settle() { pumpUntil([] { return false; }, 0.2); }

// The keyboard as the operator would use it, through XTEST on a connection of the test's own.
class Keyboard {
 public:
  // Repeats after 50 ms, every 20 ms, so a held key repeats within a test.
  Keyboard() { XkbSetAutoRepeatRate(display(), XkbUseCoreKbd, 50, 20); }
  Display* display() const { return display_.get(); }

  void down(KeySym keysym) { send(XKeysymToKeycode(display(), keysym), true); }
  void up(KeySym keysym) { send(XKeysymToKeycode(display(), keysym), false); }
  void send(unsigned keycode, bool press) {
    XTestFakeKeyEvent(display(), keycode, press, CurrentTime);
    XSync(display(), False);
  }
  // Holds the modifiers and the key, long enough for the server to repeat it when `hold`.
  void chord(std::initializer_list<KeySym> modifiers, unsigned keycode, bool hold = false) {
    for (KeySym m : modifiers) down(m);
    send(keycode, true);
    if (hold) std::this_thread::sleep_for(std::chrono::milliseconds(300));
    send(keycode, false);
    for (KeySym m : modifiers) up(m);
  }
  void tap(KeySym keysym) {
    down(keysym);
    up(keysym);
  }

 private:
  // Outlives a killed server without ending the test.
  X11Connection display_ = openX11Connection();
};

}  // namespace tavorin::testing

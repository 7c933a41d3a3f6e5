#pragma once

#include <glib.h>

#include <chrono>
#include <functional>
#include <thread>

namespace tavorin::testing {

// Runs GLib's default main context until `done` holds or `seconds` pass; whether it held.
inline bool spinUntil(const std::function<bool()>& done, double seconds) {
  auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (!done()) {
    if (std::chrono::steady_clock::now() >= end) return false;
    if (!g_main_context_iteration(nullptr, FALSE)) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

// Runs it for `seconds` whatever happens.
inline void spinFor(double seconds) {
  spinUntil([] { return false; }, seconds);
}

}  // namespace tavorin::testing

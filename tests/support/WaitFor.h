#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace tavorin::testing {

// For answers that come on other threads (daemons, services): poll until `condition` holds, false after `timeoutSeconds`.
inline bool waitFor(const std::function<bool()>& condition, double timeoutSeconds = 5.0) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(timeoutSeconds);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

}  // namespace tavorin::testing

#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "support/ChildProcess.h"
#include "support/ScopedEnvironment.h"
#include "support/TempDir.h"

namespace tavorin::testing {

// A dbus-daemon of the test's own that starts no services by itself,
// optionally with an unlocked gnome-keyring on it. While it lives, this
// process's environment (the bus address, the XDG folders, HOME) points at it;
// the old values come back when it goes.
class PrivateSessionBus {
 public:
  // Throws std::runtime_error with the reason when a daemon does not come up.
  explicit PrivateSessionBus(bool withKeyring);
  ~PrivateSessionBus();
  PrivateSessionBus(const PrivateSessionBus&) = delete;
  PrivateSessionBus& operator=(const PrivateSessionBus&) = delete;

  const std::string& address() const { return address_; }

 private:
  void start(bool withKeyring);

  // Declared first so it goes last, after the daemons.
  ScopedEnvironment environment_;
  TempDir dir_;
  std::string address_;
  std::unique_ptr<ChildProcess> bus_;
  std::unique_ptr<ChildProcess> keyring_;
};

}  // namespace tavorin::testing

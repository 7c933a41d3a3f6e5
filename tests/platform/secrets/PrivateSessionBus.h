#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/ChildProcess.h"
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
  void restoreEnvironment();
  void setEnvironment(const std::string& name, const std::string& value);

  TempDir dir_;
  std::string address_;
  std::unique_ptr<ChildProcess> bus_;
  std::unique_ptr<ChildProcess> keyring_;
  std::vector<std::pair<std::string, std::optional<std::string>>> savedEnvironment_;
};

// Sets an environment variable (or unsets it for nothing) until the object goes.
class ScopedEnvironment {
 public:
  ScopedEnvironment(std::string name, const std::optional<std::string>& value);
  ~ScopedEnvironment();
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  std::string name_;
  std::optional<std::string> previous_;
};

}  // namespace tavorin::testing

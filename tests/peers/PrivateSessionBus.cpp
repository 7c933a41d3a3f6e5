#include "peers/PrivateSessionBus.h"

#include <gio/gio.h>
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "support/WaitFor.h"

namespace tavorin::testing {
namespace {

GDBusConnection* connect(const std::string& address) {
  GError* error = nullptr;
  GDBusConnection* connection = g_dbus_connection_new_for_address_sync(
      address.c_str(),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, &error);
  g_clear_error(&error);
  return connection;
}

// True once the default collection exists and is unlocked.
bool defaultCollectionUnlocked(GDBusConnection* connection) {
  GError* error = nullptr;
  GVariant* reply = g_dbus_connection_call_sync(
      connection, "org.freedesktop.secrets", "/org/freedesktop/secrets/aliases/default",
      "org.freedesktop.DBus.Properties", "Get", g_variant_new("(ss)", "org.freedesktop.Secret.Collection", "Locked"),
      G_VARIANT_TYPE("(v)"), G_DBUS_CALL_FLAGS_NO_AUTO_START, 1000, nullptr, &error);
  g_clear_error(&error);
  if (!reply) return false;
  GVariant* boxed = nullptr;
  g_variant_get(reply, "(v)", &boxed);
  const bool unlocked = g_variant_is_of_type(boxed, G_VARIANT_TYPE_BOOLEAN) && !g_variant_get_boolean(boxed);
  g_variant_unref(boxed);
  g_variant_unref(reply);
  return unlocked;
}

}  // namespace

// A start that throws leaves nothing behind: the daemons go with their
// ChildProcess and the environment with `environment_`.
PrivateSessionBus::PrivateSessionBus(bool withKeyring) { start(withKeyring); }

void PrivateSessionBus::start(bool withKeyring) {
  const auto runtime = dir_ / "runtime";
  for (const char* name : {"runtime", "data", "config", "home"}) std::filesystem::create_directories(dir_ / name);
  ::chmod(runtime.c_str(), 0700);
  address_ = "unix:path=" + (runtime / "bus").string();
  environment_.set("XDG_RUNTIME_DIR", runtime.string());
  environment_.set("XDG_DATA_HOME", (dir_ / "data").string());
  environment_.set("XDG_CONFIG_HOME", (dir_ / "config").string());
  environment_.set("HOME", (dir_ / "home").string());
  environment_.set("DBUS_SESSION_BUS_ADDRESS", address_);

  // The system's session configuration would let the bus start an installed
  // keyring on the first call; with an empty service folder only what the test
  // starts itself is there.
  std::filesystem::create_directories(dir_ / "services");
  const auto config = dir_ / "session.conf";
  writeFile(config,
            "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
            " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
            "<busconfig><type>session</type><listen>" + address_ + "</listen><auth>EXTERNAL</auth>"
            "<servicedir>" + (dir_ / "services").string() + "</servicedir>"
            "<policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
            "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n");
  bus_ = std::make_unique<ChildProcess>(
      std::vector<std::string>{findProgram("dbus-daemon", "dbus-daemon"), "--config-file=" + config.string(),
                               "--nofork"},
      dir_ / "dbus.log");
  GDBusConnection* connection = nullptr;
  if (!waitFor([&] { return (connection = connect(address_)) != nullptr; }, 10)) {
    throw std::runtime_error("dbus-daemon did not answer: " + trimmed(readFile(dir_ / "dbus.log")));
  }
  if (withKeyring) {
    // The daemon reads the login password from standard input and unlocks (or makes) the "login" collection.
    const auto password = dir_ / "password";
    writeFile(password, "test-password");
    keyring_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{"/bin/sh", "-c", "exec \"$0\" --foreground --unlock --components=secrets <\"$1\"",
                                 findProgram("gnome-keyring-daemon", "gnome-keyring"), password.string()},
        dir_ / "keyring.log");
    const bool ready = waitFor([&] { return defaultCollectionUnlocked(connection); }, 15);
    if (!ready) {
      g_object_unref(connection);
      throw std::runtime_error("gnome-keyring gave no unlocked default collection: " +
                               trimmed(readFile(dir_ / "keyring.log")));
    }
  }
  g_dbus_connection_close_sync(connection, nullptr, nullptr);
  g_object_unref(connection);
}

PrivateSessionBus::~PrivateSessionBus() {
  if (keyring_) {
    keyring_->signal(SIGTERM);
    keyring_->wait(5);
  }
  if (bus_) {
    bus_->signal(SIGTERM);
    bus_->wait(5);
  }
}

}  // namespace tavorin::testing

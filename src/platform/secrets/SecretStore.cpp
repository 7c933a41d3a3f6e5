#include "platform/secrets/SecretStore.h"

#include <gio/gio.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "base/ThreadName.h"
#include "platform/desktop/SessionBusAddress.h"
#include "platform/secrets/FileSecretStore.h"
#include "platform/secrets/LibSecretStore.h"

namespace tavorin {

namespace {

constexpr auto probeBudget = std::chrono::milliseconds(1500);

struct ProbeState {
  std::mutex mutex;
  std::condition_variable changed;
  bool finished = false;
  bool answered = false;
};

// On a private connection, so that nothing of the probe stays in GLib's shared
// session connection that libsecret will use.
bool askSecretService(const std::string& address, int timeoutMs) {
  GError* error = nullptr;
  GDBusConnection* connection = g_dbus_connection_new_for_address_sync(
      address.c_str(),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, &error);
  if (!connection) {
    g_clear_error(&error);
    return false;
  }
  // A service that is only activatable is started by this call and counts once it replies.
  GVariant* reply = g_dbus_connection_call_sync(
      connection, "org.freedesktop.secrets", "/org/freedesktop/secrets", "org.freedesktop.DBus.Properties", "Get",
      g_variant_new("(ss)", "org.freedesktop.Secret.Service", "Collections"), G_VARIANT_TYPE("(v)"),
      G_DBUS_CALL_FLAGS_NONE, timeoutMs, nullptr, &error);
  const bool answered = reply != nullptr;
  if (reply) g_variant_unref(reply);
  g_clear_error(&error);
  g_dbus_connection_close_sync(connection, nullptr, nullptr);
  g_object_unref(connection);
  return answered;
}

bool secretServiceAnswers() {
  const std::string address = sessionBusAddress();
  if (address.empty()) return false;
  // Connecting has no time-out of its own; a thread that is still stuck on a
  // hung bus when the budget runs out is left behind and ends whenever it can.
  auto state = std::make_shared<ProbeState>();
  const int callTimeoutMs = static_cast<int>(probeBudget.count());
  std::thread([state, address, callTimeoutMs] {
    nameThisThread("Tavorin.Secrets");
    const bool answered = askSecretService(address, callTimeoutMs);
    std::lock_guard lock(state->mutex);
    state->finished = true;
    state->answered = answered;
    state->changed.notify_all();
  }).detach();
  std::unique_lock lock(state->mutex);
  state->changed.wait_for(lock, probeBudget, [&] { return state->finished; });
  return state->finished && state->answered;
}

}  // namespace

std::unique_ptr<SecretStore> makeSecretStore(const std::filesystem::path& fallbackFile,
                                             std::function<void(const std::string&)> log) {
  if (secretServiceAnswers()) return std::make_unique<LibSecretStore>(std::move(log));
  if (log) log("No Secret Service answers: keys are kept in " + fallbackFile.string() + " (readable only by you)");
  return std::make_unique<FileSecretStore>(fallbackFile, std::move(log));
}

}  // namespace tavorin

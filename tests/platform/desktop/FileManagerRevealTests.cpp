#include "platform/desktop/FileManagerReveal.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "peers/PrivateSessionBus.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::PrivateSessionBus;
using testing::ScopedEnvironment;
using testing::TempDir;

// A file manager of the test's own on the private bus: it takes ShowItems and remembers what it was shown.
class StandInFileManager {
 public:
  explicit StandInFileManager(const std::string& address) {
    GError* error = nullptr;
    connection_ = g_dbus_connection_new_for_address_sync(
        address.c_str(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, &error);
    g_clear_error(&error);
    if (!connection_) return;
    GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(
        "<node><interface name='org.freedesktop.FileManager1'><method name='ShowItems'>"
        "<arg type='as' name='uris' direction='in'/><arg type='s' name='startupId' direction='in'/>"
        "</method></interface></node>",
        nullptr);
    static const GDBusInterfaceVTable table{&StandInFileManager::call, nullptr, nullptr, {}};
    g_dbus_connection_register_object(connection_, "/org/freedesktop/FileManager1", node->interfaces[0], &table,
                                      this, nullptr, nullptr);
    g_dbus_node_info_unref(node);
    GVariant* reply = g_dbus_connection_call_sync(
        connection_, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
        g_variant_new("(su)", "org.freedesktop.FileManager1", 4u), nullptr, G_DBUS_CALL_FLAGS_NONE, 2000, nullptr,
        nullptr);
    if (reply) g_variant_unref(reply);
  }
  ~StandInFileManager() {
    if (!connection_) return;
    g_dbus_connection_close_sync(connection_, nullptr, nullptr);
    g_object_unref(connection_);
  }
  StandInFileManager(const StandInFileManager&) = delete;
  StandInFileManager& operator=(const StandInFileManager&) = delete;

  std::vector<std::string> shown;

 private:
  static void call(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*, GVariant* parameters,
                   GDBusMethodInvocation* invocation, gpointer self) {
    GVariantIter* uris = nullptr;
    const gchar* startup = nullptr;
    g_variant_get(parameters, "(as&s)", &uris, &startup);
    const gchar* uri = nullptr;
    while (g_variant_iter_next(uris, "&s", &uri)) static_cast<StandInFileManager*>(self)->shown.push_back(uri);
    g_variant_iter_free(uris);
    g_dbus_method_invocation_return_value(invocation, nullptr);
  }

  GDBusConnection* connection_ = nullptr;
};

// Runs the default main context, where the answers arrive, until `reveal` answered.
std::optional<bool> revealAndWait(const std::filesystem::path& item, double seconds = 5) {
  // Shared with the call, which may answer after the wait has given up.
  auto answer = std::make_shared<std::optional<bool>>();
  revealInFileManager(item, [answer](bool answered) { *answer = answered; });
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (!*answer && std::chrono::steady_clock::now() < deadline) {
    if (!g_main_context_iteration(nullptr, FALSE)) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return *answer;
}

TEST(RevealInFileManager, AFileManagerOnTheBusIsShownTheItemAndWithoutOneNothingHappens) {
  TempDir dir;
  const auto folder = dir / "Tavorin-2026-11-24-021500 ünï";
  std::filesystem::create_directories(folder);
  PrivateSessionBus bus(false);

  EXPECT_EQ(revealAndWait(folder), false) << "no file manager answers on the bus";
  {
    StandInFileManager manager(bus.address());
    // The stand-in answers on the same main context, so it has heard the call once the answer is in.
    EXPECT_EQ(revealAndWait(folder), true);
    ASSERT_EQ(manager.shown.size(), 1u);
    gchar* expected = g_filename_to_uri(folder.c_str(), nullptr, nullptr);
    EXPECT_EQ(manager.shown[0], expected);
    g_free(expected);
  }

  // No bus at all: GLib's X11 autolaunch is not tried.
  ScopedEnvironment environment;
  environment.set("DBUS_SESSION_BUS_ADDRESS", std::nullopt);
  environment.set("XDG_RUNTIME_DIR", dir.path().string());
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(revealAndWait(folder, 1), false);
  EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 0.5);
}

}  // namespace
}  // namespace tavorin

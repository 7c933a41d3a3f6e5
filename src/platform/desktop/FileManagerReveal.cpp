#include "platform/desktop/FileManagerReveal.h"

#include <gio/gio.h>

#include <memory>
#include <string>
#include <utility>

#include "platform/desktop/SessionBusAddress.h"

namespace tavorin {

namespace {

// A file manager that is slow to start still gets this long to take the request.
constexpr int kCallTimeoutMs = 10'000;

struct Request {
  std::string uri;
  std::function<void(bool)> answered;
  GDBusConnection* connection = nullptr;

  ~Request() {
    if (connection) g_object_unref(connection);
  }
  void finish(bool ok) {
    if (answered) answered(ok);
  }
};

void onReply(GObject* source, GAsyncResult* result, gpointer data) {
  std::unique_ptr<Request> request(static_cast<Request*>(data));
  GError* error = nullptr;
  GVariant* reply = g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &error);
  g_clear_error(&error);
  if (reply) g_variant_unref(reply);
  // A connection of its own, so that nothing here touches GLib's shared one (or
  // ends the process when the bus goes away).
  g_dbus_connection_close(request->connection, nullptr, nullptr, nullptr);
  request->finish(reply != nullptr);
}

void onConnected(GObject*, GAsyncResult* result, gpointer data) {
  std::unique_ptr<Request> request(static_cast<Request*>(data));
  GError* error = nullptr;
  request->connection = g_dbus_connection_new_for_address_finish(result, &error);
  g_clear_error(&error);
  if (!request->connection) return request->finish(false);
  const char* uris[] = {request->uri.c_str(), nullptr};
  GDBusConnection* connection = request->connection;
  g_dbus_connection_call(connection, "org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                         "org.freedesktop.FileManager1", "ShowItems", g_variant_new("(^ass)", uris, ""), nullptr,
                         G_DBUS_CALL_FLAGS_NONE, kCallTimeoutMs, nullptr, onReply, request.release());
}

}  // namespace

void revealInFileManager(const std::filesystem::path& item, std::function<void(bool)> answered) {
  auto request = std::make_unique<Request>();
  request->answered = std::move(answered);
  const std::string address = sessionBusAddress();
  GError* error = nullptr;
  gchar* uri = g_filename_to_uri(std::filesystem::absolute(item).c_str(), nullptr, &error);
  g_clear_error(&error);
  if (address.empty() || !uri) {
    g_free(uri);
    return request->finish(false);
  }
  request->uri = uri;
  g_free(uri);
  g_dbus_connection_new_for_address(
      address.c_str(),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, onConnected, request.release());
}

}  // namespace tavorin

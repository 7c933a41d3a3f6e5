#include "platform/portal/ScreenCastPortal.h"

#include <gio/gio.h>
#include <gio/gunixfdlist.h>
#include <unistd.h>

#include <optional>

#include "platform/desktop/SessionBusAddress.h"

namespace tavorin {

namespace {

constexpr const char* kPortal = "org.freedesktop.portal.Desktop";
constexpr const char* kPortalPath = "/org/freedesktop/portal/desktop";
constexpr const char* kScreenCast = "org.freedesktop.portal.ScreenCast";
constexpr int kCallTimeoutMs = 10'000;

// Portal source types and modes.
constexpr guint32 kMonitor = 1, kWindow = 2;
constexpr guint32 kCursorEmbedded = 2;
constexpr guint32 kPersistUntilRevoked = 2;

std::string messageOf(GError* error) {
  std::string text = error ? error->message : "unknown error";
  g_clear_error(&error);
  return text;
}

}  // namespace

// A connection of our own with a main context of our own on the calling
// thread: the portal answers each request with a signal, which is waited for here.
struct ScreenCastSession::Bus {
  GMainContext* context = g_main_context_new();
  GDBusConnection* connection = nullptr;
  int nextToken = 0;

  Bus() = default;
  ~Bus() {
    if (connection) {
      g_dbus_connection_close_sync(connection, nullptr, nullptr);
      g_object_unref(connection);
    }
    g_main_context_unref(context);
  }

  std::optional<std::string> connect() {
    const std::string address = sessionBusAddress();
    if (address.empty()) return "no session bus";
    GError* error = nullptr;
    connection = g_dbus_connection_new_for_address_sync(
        address.c_str(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, &error);
    if (!connection) return "no session bus: " + messageOf(error);
    g_dbus_connection_set_exit_on_close(connection, FALSE);
    return std::nullopt;
  }

  // The request object the portal will answer on, as its naming rule makes it from our bus name.
  std::string requestPath(const std::string& token) const {
    std::string sender = g_dbus_connection_get_unique_name(connection) + 1;
    for (char& c : sender) {
      if (c == '.') c = '_';
    }
    return std::string(kPortalPath) + "/request/" + sender + "/" + token;
  }

  struct Answer {
    bool done = false;
    guint32 response = 2;
    GVariant* results = nullptr;
  };

  // Calls `method` with `arguments` whose last member is the options
  // dictionary being built, adds the request's token to it and waits for the
  // Response. The results (owned by the caller), or the reason there are none.
  std::variant<GVariant*, std::string> request(const char* method, const std::string& session,
                                               GVariantBuilder* options, int timeoutSeconds) {
    // The answer is delivered to the context that is the thread's default when subscribing.
    g_main_context_push_thread_default(context);
    struct Pop {
      GMainContext* context;
      ~Pop() { g_main_context_pop_thread_default(context); }
    } pop{context};
    const std::string token = "tavorin" + std::to_string(++nextToken);
    g_variant_builder_add(options, "{sv}", "handle_token", g_variant_new_string(token.c_str()));
    Answer answer;
    const guint subscription = g_dbus_connection_signal_subscribe(
        connection, nullptr, "org.freedesktop.portal.Request", "Response", requestPath(token).c_str(), nullptr,
        G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* parameters, gpointer data) {
          auto* a = static_cast<Answer*>(data);
          g_variant_get(parameters, "(u@a{sv})", &a->response, &a->results);
          a->done = true;
        },
        &answer, nullptr);
    GVariant* arguments = session.empty() ? g_variant_new("(a{sv})", options)
                          : std::string(method) == "Start"
                              ? g_variant_new("(osa{sv})", session.c_str(), "", options)
                              : g_variant_new("(oa{sv})", session.c_str(), options);
    GError* error = nullptr;
    GVariant* reply = g_dbus_connection_call_sync(connection, kPortal, kPortalPath, kScreenCast, method, arguments,
                                                  G_VARIANT_TYPE("(o)"), G_DBUS_CALL_FLAGS_NONE, kCallTimeoutMs,
                                                  nullptr, &error);
    if (!reply) {
      g_dbus_connection_signal_unsubscribe(connection, subscription);
      return std::string(method) + " failed: " + messageOf(error);
    }
    g_variant_unref(reply);
    bool timedOut = false;
    GSource* timeout = g_timeout_source_new_seconds(static_cast<guint>(timeoutSeconds));
    g_source_set_callback(
        timeout,
        [](gpointer data) {
          *static_cast<bool*>(data) = true;
          return G_SOURCE_REMOVE;
        },
        &timedOut, nullptr);
    g_source_attach(timeout, context);
    while (!answer.done && !timedOut) g_main_context_iteration(context, TRUE);
    g_source_destroy(timeout);
    g_source_unref(timeout);
    g_dbus_connection_signal_unsubscribe(connection, subscription);
    if (!answer.done) return std::string("the screen-share dialog got no answer");
    if (answer.response != 0) {
      if (answer.results) g_variant_unref(answer.results);
      return std::string(answer.response == 1 ? "the operator cancelled the screen-share dialog"
                                              : "the desktop refused the screen share");
    }
    return answer.results;
  }
};

ScreenCastSession::~ScreenCastSession() {
  if (pipewireFd_ >= 0) close(pipewireFd_);
  if (bus_ && !sessionPath_.empty()) {
    GVariant* reply = g_dbus_connection_call_sync(bus_->connection, kPortal, sessionPath_.c_str(),
                                                  "org.freedesktop.portal.Session", "Close", nullptr, nullptr,
                                                  G_DBUS_CALL_FLAGS_NONE, kCallTimeoutMs, nullptr, nullptr);
    if (reply) g_variant_unref(reply);
  }
}

int ScreenCastSession::takePipeWireFd() {
  const int fd = pipewireFd_;
  pipewireFd_ = -1;
  return fd;
}

bool ScreenCastPortal::available() {
  ScreenCastSession::Bus bus;
  if (bus.connect()) return false;
  GVariant* reply = g_dbus_connection_call_sync(
      bus.connection, kPortal, kPortalPath, "org.freedesktop.DBus.Properties", "Get",
      g_variant_new("(ss)", kScreenCast, "version"), G_VARIANT_TYPE("(v)"), G_DBUS_CALL_FLAGS_NONE, kCallTimeoutMs,
      nullptr, nullptr);
  if (!reply) return false;
  g_variant_unref(reply);
  return true;
}

std::variant<std::unique_ptr<ScreenCastSession>, std::string> ScreenCastPortal::open(const std::string& restoreToken) {
  std::unique_ptr<ScreenCastSession> session(new ScreenCastSession);
  session->bus_ = std::make_unique<ScreenCastSession::Bus>();
  ScreenCastSession::Bus& bus = *session->bus_;
  if (auto error = bus.connect()) return *error;

  GVariantBuilder options;
  g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
  g_variant_builder_add(&options, "{sv}", "session_handle_token", g_variant_new_string("tavorin"));
  auto created = bus.request("CreateSession", "", &options, 30);
  if (auto* error = std::get_if<std::string>(&created)) return "no ScreenCast portal on the session bus (" + *error + ")";
  GVariant* results = std::get<GVariant*>(created);
  const char* handle = nullptr;
  if (results && g_variant_lookup(results, "session_handle", "&s", &handle)) session->sessionPath_ = handle;
  if (results) g_variant_unref(results);
  if (session->sessionPath_.empty()) return std::string("the ScreenCast portal made no session");

  g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
  g_variant_builder_add(&options, "{sv}", "types", g_variant_new_uint32(kMonitor | kWindow));
  g_variant_builder_add(&options, "{sv}", "multiple", g_variant_new_boolean(FALSE));
  g_variant_builder_add(&options, "{sv}", "cursor_mode", g_variant_new_uint32(kCursorEmbedded));
  g_variant_builder_add(&options, "{sv}", "persist_mode", g_variant_new_uint32(kPersistUntilRevoked));
  if (!restoreToken.empty()) {
    g_variant_builder_add(&options, "{sv}", "restore_token", g_variant_new_string(restoreToken.c_str()));
  }
  auto selected = bus.request("SelectSources", session->sessionPath_, &options, 30);
  if (auto* error = std::get_if<std::string>(&selected)) return *error;
  if (auto* r = std::get<GVariant*>(selected)) g_variant_unref(r);

  g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
  auto started = bus.request("Start", session->sessionPath_, &options, kChoiceTimeoutSeconds);
  if (auto* error = std::get_if<std::string>(&started)) return *error;
  results = std::get<GVariant*>(started);
  GVariant* streams = results ? g_variant_lookup_value(results, "streams", G_VARIANT_TYPE("a(ua{sv})")) : nullptr;
  bool found = false;
  if (streams && g_variant_n_children(streams) > 0) {
    GVariant* properties = nullptr;
    g_variant_get_child(streams, 0, "(u@a{sv})", &session->nodeID_, &properties);
    found = true;
    gint32 w = 0, h = 0;
    if (properties && g_variant_lookup(properties, "size", "(ii)", &w, &h)) {
      session->width_ = w;
      session->height_ = h;
    }
    if (properties) g_variant_unref(properties);
  }
  const char* token = nullptr;
  if (results && g_variant_lookup(results, "restore_token", "&s", &token)) session->restoreToken_ = token;
  if (streams) g_variant_unref(streams);
  if (results) g_variant_unref(results);
  if (!found) return std::string("the screen share came with no stream");

  GUnixFDList* fds = nullptr;
  GError* error = nullptr;
  GVariant* reply = g_dbus_connection_call_with_unix_fd_list_sync(
      bus.connection, kPortal, kPortalPath, kScreenCast, "OpenPipeWireRemote",
      g_variant_new("(o@a{sv})", session->sessionPath_.c_str(), g_variant_new_array(G_VARIANT_TYPE("{sv}"), nullptr, 0)),
      G_VARIANT_TYPE("(h)"), G_DBUS_CALL_FLAGS_NONE, kCallTimeoutMs, nullptr, &fds, nullptr, &error);
  if (!reply) return "OpenPipeWireRemote failed: " + messageOf(error);
  gint32 index = -1;
  g_variant_get(reply, "(h)", &index);
  g_variant_unref(reply);
  session->pipewireFd_ = fds ? g_unix_fd_list_get(fds, index, nullptr) : -1;
  if (fds) g_object_unref(fds);
  if (session->pipewireFd_ < 0) return std::string("the portal gave no PipeWire connection");
  return session;
}

}  // namespace tavorin

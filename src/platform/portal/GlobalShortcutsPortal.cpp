#include "platform/portal/GlobalShortcutsPortal.h"

#include <gio/gio.h>

#include <algorithm>

#include "platform/desktop/SessionBusAddress.h"

namespace tavorin {
namespace {

constexpr const char* kPortal = "org.freedesktop.portal.Desktop";
constexpr const char* kPortalPath = "/org/freedesktop/portal/desktop";
constexpr const char* kGlobalShortcuts = "org.freedesktop.portal.GlobalShortcuts";
// Asked once at start-up on the main thread, so a portal that hangs costs little.
constexpr int kProbeTimeoutMs = 3'000;

constexpr const char* kRefusedMessage =
    "The desktop did not bind Tavorin's hotkeys — keys work while Tavorin has focus.";

std::string shortcutName(std::uint32_t id, const GlobalKey& key) {
  return key.trigger.empty() ? "tavorin-" + std::to_string(id) : key.trigger;
}

}  // namespace

// What an asynchronous call needs once it finishes; the portal may be gone by then.
struct GlobalShortcutsPortal::Call {
  GlobalShortcutsPortal* portal;
  std::string requestPath;

  static void finished(GObject* source, GAsyncResult* result, gpointer data) {
    std::unique_ptr<Call> call(static_cast<Call*>(data));
    GError* error = nullptr;
    GVariant* reply = g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &error);
    if (reply) {
      g_variant_unref(reply);
      return;
    }
    // Cancelled: the portal object is gone.
    const bool cancelled = g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED);
    g_error_free(error);
    if (!cancelled) call->portal->answered(call->requestPath, 2, nullptr);
  }
};

std::unique_ptr<GlobalShortcutsPortal> GlobalShortcutsPortal::open() {
  const std::string address = sessionBusAddress();
  if (address.empty()) return nullptr;
  GDBusConnection* connection = g_dbus_connection_new_for_address_sync(
      address.c_str(),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, nullptr);
  if (!connection) return nullptr;
  g_dbus_connection_set_exit_on_close(connection, FALSE);
  GVariant* reply = g_dbus_connection_call_sync(
      connection, kPortal, kPortalPath, "org.freedesktop.DBus.Properties", "Get",
      g_variant_new("(ss)", kGlobalShortcuts, "version"), G_VARIANT_TYPE("(v)"), G_DBUS_CALL_FLAGS_NONE,
      kProbeTimeoutMs, nullptr, nullptr);
  if (!reply) {
    g_dbus_connection_close_sync(connection, nullptr, nullptr);
    g_object_unref(connection);
    return nullptr;
  }
  g_variant_unref(reply);
  return std::unique_ptr<GlobalShortcutsPortal>(new GlobalShortcutsPortal(connection));
}

GlobalShortcutsPortal::GlobalShortcutsPortal(GDBusConnection* connection)
    : connection_(connection), context_(g_main_context_ref_thread_default()), cancellable_(g_cancellable_new()) {
  activatedSubscription_ = g_dbus_connection_signal_subscribe(
      connection_, nullptr, kGlobalShortcuts, "Activated", kPortalPath, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
      [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* parameters, gpointer data) {
        static_cast<GlobalShortcutsPortal*>(data)->activated(parameters);
      },
      this, nullptr);
}

GlobalShortcutsPortal::~GlobalShortcutsPortal() {
  if (bindSource_) {
    g_source_destroy(bindSource_);
    g_source_unref(bindSource_);
  }
  g_cancellable_cancel(cancellable_);
  g_dbus_connection_signal_unsubscribe(connection_, activatedSubscription_);
  for (const auto& [path, pending] : pending_) g_dbus_connection_signal_unsubscribe(connection_, pending.subscription);
  closeSession();
  g_dbus_connection_flush_sync(connection_, nullptr, nullptr);
  g_dbus_connection_close_sync(connection_, nullptr, nullptr);
  g_object_unref(connection_);
  g_object_unref(cancellable_);
  g_main_context_unref(context_);
}

bool GlobalShortcutsPortal::grab(std::uint32_t id, const GlobalKey& key) {
  release(id);
  const std::string name = shortcutName(id, key);
  const bool taken = std::any_of(keys_.begin(), keys_.end(),
                                 [&](const auto& bound) { return shortcutName(bound.first, bound.second) == name; });
  if (taken) return false;
  keys_[id] = key;
  scheduleBind();
  return true;
}

void GlobalShortcutsPortal::release(std::uint32_t id) {
  if (keys_.erase(id) == 0) return;
  std::erase_if(shortcuts_, [&](const auto& shortcut) { return shortcut.second == id; });
  scheduleBind();
}

void GlobalShortcutsPortal::releaseAll() {
  if (keys_.empty()) return;
  keys_.clear();
  shortcuts_.clear();
  scheduleBind();
}

GlobalKeyMode GlobalShortcutsPortal::mode() const {
  if (failed_) return {false, kRefusedMessage};
  return {true, {}};
}

// A deck loads by releasing every key and binding each anew; the desktop sees only the outcome.
void GlobalShortcutsPortal::scheduleBind() {
  if (bindSource_) return;
  bindSource_ = g_idle_source_new();
  g_source_set_callback(
      bindSource_,
      [](gpointer data) {
        auto* portal = static_cast<GlobalShortcutsPortal*>(data);
        g_source_unref(portal->bindSource_);
        portal->bindSource_ = nullptr;
        portal->bind();
        return G_SOURCE_REMOVE;
      },
      this, nullptr);
  g_source_attach(bindSource_, context_);
}

void GlobalShortcutsPortal::bind() {
  const std::uint64_t generation = ++generation_;
  closeSession();
  failed_ = false;
  if (keys_.empty()) return;
  GVariantBuilder options;
  g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
  const std::string sessionToken = "tavorin" + std::to_string(++nextToken_);
  g_variant_builder_add(&options, "{sv}", "session_handle_token", g_variant_new_string(sessionToken.c_str()));
  request("CreateSession", {}, &options, [this, generation](std::uint32_t response, GVariant* results) {
    const char* handle = nullptr;
    if (results) g_variant_lookup(results, "session_handle", "&s", &handle);
    if (generation != generation_) {
      // Keys changed meanwhile and a newer session is on its way.
      if (handle) closeSession(handle);
      return;
    }
    if (response != 0 || !handle) return fail();
    session_ = handle;
    bindShortcuts(generation);
  });
}

void GlobalShortcutsPortal::bindShortcuts(std::uint64_t generation) {
  GVariantBuilder shortcuts;
  g_variant_builder_init(&shortcuts, G_VARIANT_TYPE("a(sa{sv})"));
  shortcuts_.clear();
  for (const auto& [id, key] : keys_) {
    const std::string name = shortcutName(id, key);
    shortcuts_[name] = id;
    GVariantBuilder properties;
    g_variant_builder_init(&properties, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&properties, "{sv}", "description", g_variant_new_string(key.description.c_str()));
    if (!key.trigger.empty()) {
      g_variant_builder_add(&properties, "{sv}", "preferred_trigger", g_variant_new_string(key.trigger.c_str()));
    }
    g_variant_builder_add(&shortcuts, "(sa{sv})", name.c_str(), &properties);
  }
  GVariantBuilder options;
  g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
  request("BindShortcuts",
          {g_variant_new_object_path(session_.c_str()), g_variant_builder_end(&shortcuts), g_variant_new_string("")},
          &options, [this, generation](std::uint32_t response, GVariant*) {
            if (generation == generation_ && response != 0) fail();
          });
}

void GlobalShortcutsPortal::closeSession() {
  shortcuts_.clear();
  if (session_.empty()) return;
  closeSession(session_);
  session_.clear();
}

void GlobalShortcutsPortal::closeSession(const std::string& path) {
  g_dbus_connection_call(connection_, kPortal, path.c_str(), "org.freedesktop.portal.Session", "Close", nullptr,
                         nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr, nullptr);
}

void GlobalShortcutsPortal::fail() {
  closeSession();
  failed_ = true;
}

void GlobalShortcutsPortal::request(const char* method, std::vector<GVariant*> arguments, GVariantBuilder* options,
                                    Answer answer) {
  const std::string token = "tavorin" + std::to_string(++nextToken_);
  g_variant_builder_add(options, "{sv}", "handle_token", g_variant_new_string(token.c_str()));
  arguments.push_back(g_variant_builder_end(options));
  // The portal names the request object after our bus name and the token, so
  // its answer can be listened for before the call goes out.
  std::string sender = g_dbus_connection_get_unique_name(connection_) + 1;
  std::replace(sender.begin(), sender.end(), '.', '_');
  const std::string path = std::string(kPortalPath) + "/request/" + sender + "/" + token;
  Pending& pending = pending_[path];
  pending.answer = std::move(answer);
  pending.subscription = g_dbus_connection_signal_subscribe(
      connection_, nullptr, "org.freedesktop.portal.Request", "Response", path.c_str(), nullptr,
      G_DBUS_SIGNAL_FLAGS_NONE,
      [](GDBusConnection*, const char*, const char* objectPath, const char*, const char*, GVariant* parameters,
         gpointer data) {
        if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ua{sv})"))) return;
        guint32 response = 2;
        GVariant* results = nullptr;
        g_variant_get(parameters, "(u@a{sv})", &response, &results);
        static_cast<GlobalShortcutsPortal*>(data)->answered(objectPath, response, results);
        g_variant_unref(results);
      },
      this, nullptr);
  g_dbus_connection_call(connection_, kPortal, kPortalPath, kGlobalShortcuts, method,
                         g_variant_new_tuple(arguments.data(), arguments.size()), G_VARIANT_TYPE("(o)"),
                         G_DBUS_CALL_FLAGS_NONE, -1, cancellable_, Call::finished, new Call{this, path});
}

void GlobalShortcutsPortal::answered(const std::string& requestPath, std::uint32_t response, GVariant* results) {
  const auto found = pending_.find(requestPath);
  if (found == pending_.end()) return;
  g_dbus_connection_signal_unsubscribe(connection_, found->second.subscription);
  const Answer answer = std::move(found->second.answer);
  pending_.erase(found);
  answer(response, results);
}

void GlobalShortcutsPortal::activated(GVariant* parameters) {
  if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(osta{sv})"))) return;
  const char* session = nullptr;
  const char* name = nullptr;
  guint64 timestamp = 0;
  GVariant* options = nullptr;
  g_variant_get(parameters, "(&o&st@a{sv})", &session, &name, &timestamp, &options);
  g_variant_unref(options);
  if (session_ != session) return;
  const auto found = shortcuts_.find(name);
  if (found == shortcuts_.end() || !pressed_) return;
  const auto handler = pressed_;
  handler(found->second);
}

}  // namespace tavorin

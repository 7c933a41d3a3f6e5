#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/desktop/GlobalKeyService.h"

typedef struct _GDBusConnection GDBusConnection;
typedef struct _GCancellable GCancellable;
typedef struct _GMainContext GMainContext;
typedef struct _GSource GSource;
typedef struct _GVariant GVariant;
typedef struct _GVariantBuilder GVariantBuilder;

namespace tavorin {

// Global keys through the desktop's GlobalShortcuts portal, the way under
// Wayland. The desktop has the last word on each key (it may ask the operator
// or pick another), so binding is asynchronous: every change is gathered on
// the main context and the whole set bound afresh in a new session, as the
// portal binds a session's shortcuts only once.
class GlobalShortcutsPortal final : public GlobalKeyService {
 public:
  // Null when no GlobalShortcuts portal answers on the session bus. Keys are
  // reported on the calling thread's main context.
  static std::unique_ptr<GlobalShortcutsPortal> open();
  ~GlobalShortcutsPortal() override;
  GlobalShortcutsPortal(const GlobalShortcutsPortal&) = delete;
  GlobalShortcutsPortal& operator=(const GlobalShortcutsPortal&) = delete;

  // True once the key is queued for binding; false only for a key bound here already.
  bool grab(std::uint32_t id, const GlobalKey& key) override;
  void release(std::uint32_t id) override;
  void releaseAll() override;
  void setPressedHandler(std::function<void(std::uint32_t id)> handler) override { pressed_ = std::move(handler); }
  GlobalKeyMode mode() const override;

 private:
  using Answer = std::function<void(std::uint32_t response, GVariant* results)>;
  struct Pending {
    unsigned subscription = 0;
    Answer answer;
  };
  struct Call;

  explicit GlobalShortcutsPortal(GDBusConnection* connection);
  void scheduleBind();
  void bind();
  void bindShortcuts(std::uint64_t generation);
  void closeSession();
  void closeSession(const std::string& path);
  void fail();
  // Calls a portal method whose answer comes as a Request's Response signal.
  // `arguments` precede the options, to which the request's token is added.
  void request(const char* method, std::vector<GVariant*> arguments, GVariantBuilder* options, Answer answer);
  void answered(const std::string& requestPath, std::uint32_t response, GVariant* results);
  void activated(GVariant* parameters);

  GDBusConnection* connection_;
  GMainContext* context_;
  GCancellable* cancellable_;
  unsigned activatedSubscription_ = 0;
  GSource* bindSource_ = nullptr;
  std::map<std::uint32_t, GlobalKey> keys_;
  // The session whose shortcuts are bound now, and its shortcut names.
  std::string session_;
  std::map<std::string, std::uint32_t> shortcuts_;
  // Answers for an older set of keys are dropped.
  std::uint64_t generation_ = 0;
  std::map<std::string, Pending> pending_;
  int nextToken_ = 0;
  bool failed_ = false;
  std::function<void(std::uint32_t)> pressed_;
};

}  // namespace tavorin

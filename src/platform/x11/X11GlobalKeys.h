#pragma once

#include <X11/Xlib.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <utility>
#include <vector>

#include "platform/desktop/GlobalKeyService.h"
#include "platform/x11/X11Connection.h"

typedef struct _GSource GSource;

namespace tavorin {

// Global keys on an X11 desktop: passive grabs on the root window through a
// connection of our own, whose events are read on the thread's GLib main
// context. A key held by another client is refused, not stolen.
class X11GlobalKeys final : public GlobalKeyService {
 public:
  // Null when no X server answers on $DISPLAY (or `displayName`).
  static std::unique_ptr<X11GlobalKeys> open(const char* displayName = nullptr);
  ~X11GlobalKeys() override;
  X11GlobalKeys(const X11GlobalKeys&) = delete;
  X11GlobalKeys& operator=(const X11GlobalKeys&) = delete;

  bool grab(std::uint32_t id, const GlobalKey& key) override;
  void release(std::uint32_t id) override;
  void releaseAll() override;
  void setPressedHandler(std::function<void(std::uint32_t id)> handler) override { pressed_ = std::move(handler); }
  GlobalKeyMode mode() const override;

 private:
  struct EventSource;
  // An X key: keycode and the modifier mask it is grabbed with, locks aside.
  using XKey = std::pair<unsigned, unsigned>;

  explicit X11GlobalKeys(X11Connection display);
  void setGrabbed(const XKey& key, bool grabbed);
  // Reads what the server sent; false once the connection is gone.
  bool readEvents();

  X11Connection display_;
  Window root_ = 0;
  GSource* source_ = nullptr;
  bool lost_ = false;
  // Modifier masks as this server's keymap places them.
  unsigned alt_ = Mod1Mask, super_ = Mod4Mask;
  // Every combination of the lock modifiers, which must not stop a key from firing.
  std::vector<unsigned> lockCombinations_;
  unsigned locks_ = LockMask;
  std::map<XKey, std::uint32_t> ids_;
  std::map<std::uint32_t, XKey> keys_;
  // Keys down now, so a held key's repeats are not presses.
  std::set<unsigned> held_;
  std::function<void(std::uint32_t)> pressed_;
};

}  // namespace tavorin

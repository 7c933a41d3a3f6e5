#include "platform/x11/X11GlobalKeys.h"

#include <X11/XKBlib.h>
#include <X11/keysym.h>
#include <glib.h>

namespace tavorin {
namespace {

// The first evdev code is X keycode 8 on every Linux server.
constexpr unsigned kEvdevToXKeycode = 8;
constexpr unsigned kModifierMasks = ShiftMask | LockMask | ControlMask | Mod1Mask | Mod2Mask | Mod3Mask | Mod4Mask |
                                    Mod5Mask;

// The modifier bit the keymap puts `keysym`'s key under; 0 when none.
unsigned modifierMaskOf(Display* display, const XModifierKeymap* map, KeySym keysym) {
  const KeyCode keycode = XKeysymToKeycode(display, keysym);
  if (keycode == 0) return 0;
  for (int modifier = 0; modifier < 8; ++modifier) {
    for (int i = 0; i < map->max_keypermod; ++i) {
      if (map->modifiermap[modifier * map->max_keypermod + i] == keycode) return 1u << modifier;
    }
  }
  return 0;
}

}  // namespace

// Reports the connection's events on the main context. Xlib reads events
// into its own queue during other requests, so the queue is checked as well
// as the socket.
struct X11GlobalKeys::EventSource {
  GSource base;
  X11GlobalKeys* keys;
  gpointer fdTag;

  static gboolean prepare(GSource* source, gint* timeout) {
    *timeout = -1;
    auto* self = reinterpret_cast<EventSource*>(source);
    return !self->keys->lost_ && XEventsQueued(self->keys->display_.get(), QueuedAlready) > 0;
  }
  static gboolean check(GSource* source) {
    auto* self = reinterpret_cast<EventSource*>(source);
    return g_source_query_unix_fd(source, self->fdTag) != 0 ||
           (!self->keys->lost_ && XEventsQueued(self->keys->display_.get(), QueuedAlready) > 0);
  }
  static gboolean dispatch(GSource* source, GSourceFunc, gpointer) {
    return reinterpret_cast<EventSource*>(source)->keys->readEvents() ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
  }
};

std::unique_ptr<X11GlobalKeys> X11GlobalKeys::open(const char* displayName) {
  X11Connection display = openX11Connection(displayName);
  if (!display) return nullptr;
  return std::unique_ptr<X11GlobalKeys>(new X11GlobalKeys(std::move(display)));
}

X11GlobalKeys::X11GlobalKeys(X11Connection display) : display_(std::move(display)) {
  Display* d = display_.get();
  root_ = DefaultRootWindow(d);
  // Without this a held key reads as release-press pairs; with it only presses repeat.
  XkbSetDetectableAutoRepeat(d, True, nullptr);
  XModifierKeymap* map = XGetModifierMapping(d);
  if (map) {
    locks_ |= modifierMaskOf(d, map, XK_Num_Lock) | modifierMaskOf(d, map, XK_Scroll_Lock);
    if (const unsigned alt = modifierMaskOf(d, map, XK_Alt_L)) alt_ = alt;
    if (const unsigned super = modifierMaskOf(d, map, XK_Super_L)) super_ = super;
    XFreeModifiermap(map);
  }
  for (unsigned combination = 0; combination <= locks_; ++combination) {
    if ((combination & ~locks_) == 0) lockCombinations_.push_back(combination);
  }

  static GSourceFuncs funcs = {EventSource::prepare, EventSource::check, EventSource::dispatch, nullptr, nullptr,
                               nullptr};
  source_ = g_source_new(&funcs, sizeof(EventSource));
  auto* source = reinterpret_cast<EventSource*>(source_);
  source->keys = this;
  source->fdTag = g_source_add_unix_fd(source_, ConnectionNumber(d),
                                       static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR));
  g_source_attach(source_, g_main_context_get_thread_default());
}

X11GlobalKeys::~X11GlobalKeys() {
  if (!g_source_is_destroyed(source_)) g_source_destroy(source_);
  g_source_unref(source_);
  releaseAll();
}

void X11GlobalKeys::setGrabbed(const XKey& key, bool grabbed) {
  for (const unsigned locks : lockCombinations_) {
    if (grabbed) {
      XGrabKey(display_.get(), static_cast<int>(key.first), key.second | locks, root_, False, GrabModeAsync,
               GrabModeAsync);
    } else {
      XUngrabKey(display_.get(), static_cast<int>(key.first), key.second | locks, root_);
    }
  }
}

bool X11GlobalKeys::grab(std::uint32_t id, const GlobalKey& key) {
  release(id);
  if (lost_ || x11ConnectionLost(display_.get())) return false;
  unsigned mask = 0;
  if (key.modifiers & key_modifier::control) mask |= ControlMask;
  if (key.modifiers & key_modifier::alt) mask |= alt_;
  if (key.modifiers & key_modifier::shift) mask |= ShiftMask;
  if (key.modifiers & key_modifier::super) mask |= super_;
  const XKey xkey{key.evdevCode + kEvdevToXKeycode, mask};
  if (ids_.contains(xkey)) return false;

  Display* d = display_.get();
  XSync(d, False);
  takeX11Error(d);
  setGrabbed(xkey, true);
  XSync(d, False);
  // BadAccess: another client grabbed one of the combinations first. Those we
  // did get are given back so the key stays wholly theirs.
  if (takeX11Error(d) != 0 || x11ConnectionLost(d)) {
    if (!x11ConnectionLost(d)) {
      setGrabbed(xkey, false);
      XSync(d, False);
      takeX11Error(d);
    }
    return false;
  }
  ids_[xkey] = id;
  keys_[id] = xkey;
  return true;
}

void X11GlobalKeys::release(std::uint32_t id) {
  const auto found = keys_.find(id);
  if (found == keys_.end()) return;
  if (!lost_ && !x11ConnectionLost(display_.get())) {
    setGrabbed(found->second, false);
    XFlush(display_.get());
  }
  ids_.erase(found->second);
  keys_.erase(found);
}

void X11GlobalKeys::releaseAll() {
  while (!keys_.empty()) release(keys_.begin()->first);
}

GlobalKeyMode X11GlobalKeys::mode() const {
  if (lost_) {
    return {false,
            "Global hotkeys stopped: the connection to the X server was lost — keys work while Tavorin has focus."};
  }
  return {true, {}};
}

bool X11GlobalKeys::readEvents() {
  Display* d = display_.get();
  while (!x11ConnectionLost(d) && XPending(d) > 0) {
    XEvent event;
    XNextEvent(d, &event);
    if (event.type != KeyPress && event.type != KeyRelease) continue;
    const unsigned keycode = event.xkey.keycode;
    if (event.type == KeyRelease) {
      held_.erase(keycode);
      continue;
    }
    if (!held_.insert(keycode).second) continue;
    const auto found = ids_.find({keycode, event.xkey.state & kModifierMasks & ~locks_});
    if (found == ids_.end() || !pressed_) continue;
    // A copy: the handler may rebind every key, this one included.
    const auto handler = pressed_;
    handler(found->second);
  }
  if (x11ConnectionLost(d)) {
    lost_ = true;
    held_.clear();
    return false;
  }
  return true;
}

}  // namespace tavorin

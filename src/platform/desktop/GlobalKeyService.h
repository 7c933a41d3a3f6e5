#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

namespace tavorin {

// Modifier keys as the desktop services take them, as plain bits.
namespace key_modifier {
inline constexpr std::uint32_t control = 1;
inline constexpr std::uint32_t alt = 2;
inline constexpr std::uint32_t shift = 4;
inline constexpr std::uint32_t super = 8;
inline constexpr std::uint32_t all = control | alt | shift | super;
}  // namespace key_modifier

// What the operator is told when no desktop service can watch keys for us.
inline constexpr const char* kFocusOnlyHotkeysMessage =
    "Global hotkeys need an X11 session (or a desktop with the GlobalShortcuts portal) — keys work while Tavorin "
    "has focus.";

// One key to watch for.
struct GlobalKey {
  std::uint32_t evdevCode = 0;  // KEY_* of linux/input-event-codes.h
  std::uint32_t modifiers = 0;  // key_modifier bits
  // The key as the portal suggests it to the desktop ("CTRL+ALT+LOGO+m"), and
  // what the desktop's shortcut settings show beside it.
  std::string trigger{};
  std::string description{};
};

// Whether bound keys reach us from anywhere on the desktop, or only while our
// window has focus (and then why, in the operator's words).
struct GlobalKeyMode {
  bool global = false;
  std::string message{};

  friend bool operator==(const GlobalKeyMode&, const GlobalKeyMode&) = default;
};

// A desktop service that tells us when a bound key is pressed, whichever
// window has focus. Main thread only; presses are reported there too.
class GlobalKeyService {
 public:
  virtual ~GlobalKeyService() = default;

  // Binds `key` under `id`; false when the desktop refuses it (another
  // program holds it, or it is already bound here).
  virtual bool grab(std::uint32_t id, const GlobalKey& key) = 0;
  virtual void release(std::uint32_t id) = 0;
  virtual void releaseAll() = 0;
  // Called once per press of a bound key; holding it down does not repeat.
  virtual void setPressedHandler(std::function<void(std::uint32_t id)> handler) = 0;
  virtual GlobalKeyMode mode() const = 0;
};

// The service of last resort: grabs nothing, so bound keys work only through
// the presses our own window forwards while it has focus.
class FocusOnlyKeys final : public GlobalKeyService {
 public:
  explicit FocusOnlyKeys(std::string message = kFocusOnlyHotkeysMessage) : message_(std::move(message)) {}

  bool grab(std::uint32_t, const GlobalKey&) override { return true; }
  void release(std::uint32_t) override {}
  void releaseAll() override {}
  void setPressedHandler(std::function<void(std::uint32_t)>) override {}
  GlobalKeyMode mode() const override { return {false, message_}; }

 private:
  std::string message_;
};

}  // namespace tavorin

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>

#include "platform/desktop/GlobalKeyService.h"

namespace tavorin {

// The deck's global hotkeys: binds stored keys through the desktop's key
// service and runs a tile's action when its key is pressed. Main thread only.
class HotkeyManager {
 public:
  // With no service every key is refused.
  explicit HotkeyManager(std::unique_ptr<GlobalKeyService> service);
  ~HotkeyManager();
  HotkeyManager(const HotkeyManager&) = delete;
  HotkeyManager& operator=(const HotkeyManager&) = delete;

  // Binds a stored key (HotkeyBinding's keyCode and carbonModifiers). False,
  // and nothing kept, when the key has no Linux counterpart or the desktop
  // refuses it (another program holds it, or another tile has it).
  bool registerKey(std::uint32_t keyCode, std::uint32_t carbonModifiers, std::function<void()> action);
  // Unbinds every key, as before a deck is bound afresh.
  void removeAll();
  // A key pressed in our window (evdev code, key_modifier bits). Runs its
  // action only while keys are not global, as then nothing else would.
  void pressLocal(std::uint32_t evdevCode, std::uint32_t modifiers);
  GlobalKeyMode mode() const;
  // False without a key service (headless, tests): then no key is ever bound.
  bool hasService() const { return service_ != nullptr; }

 private:
  struct Registration {
    std::uint32_t evdevCode = 0;
    std::uint32_t modifiers = 0;
  };
  void run(std::uint32_t id);

  std::unique_ptr<GlobalKeyService> service_;
  std::unordered_map<std::uint32_t, Registration> refs_;
  std::unordered_map<std::uint32_t, std::function<void()>> actions_;
  std::uint32_t nextID_ = 1;
};

// The best service this session offers: X11 grabs on an X11 session, else the
// GlobalShortcuts portal when it answers, else keys only while Tavorin has focus.
std::unique_ptr<GlobalKeyService> makeGlobalKeyService();

}  // namespace tavorin

#include "control/HotkeyManager.h"

#include <cstdlib>
#include <string_view>

#include "model/HotkeyKeys.h"
#include "platform/portal/GlobalShortcutsPortal.h"
#include "platform/x11/X11GlobalKeys.h"

namespace tavorin {

HotkeyManager::HotkeyManager(std::unique_ptr<GlobalKeyService> service) : service_(std::move(service)) {
  if (service_) service_->setPressedHandler([this](std::uint32_t id) { run(id); });
}

HotkeyManager::~HotkeyManager() {
  removeAll();
  if (service_) service_->setPressedHandler(nullptr);
}

bool HotkeyManager::registerKey(std::uint32_t keyCode, std::uint32_t carbonModifiers, std::function<void()> action) {
  const auto evdevCode = evdevFromKeyCode(keyCode);
  if (!service_ || !evdevCode) return false;
  const std::uint32_t modifiers = keyModifiersFromCarbon(carbonModifiers);
  const HotkeyBinding binding{keyCode, carbonModifiers, {}};
  const GlobalKey key{*evdevCode, modifiers, hotkeyTriggerName(binding),
                      "Tavorin deck tile (" + hotkeyDisplay(keyCode, carbonModifiers) + ")"};
  const std::uint32_t id = nextID_++;
  if (!service_->grab(id, key)) return false;
  refs_[id] = {*evdevCode, modifiers};
  actions_[id] = std::move(action);
  return true;
}

void HotkeyManager::removeAll() {
  if (service_) service_->releaseAll();
  refs_.clear();
  actions_.clear();
}

void HotkeyManager::pressLocal(std::uint32_t evdevCode, std::uint32_t modifiers) {
  if (!service_ || service_->mode().global) return;
  for (const auto& [id, ref] : refs_) {
    if (ref.evdevCode == evdevCode && ref.modifiers == (modifiers & key_modifier::all)) return run(id);
  }
}

GlobalKeyMode HotkeyManager::mode() const {
  if (!service_) return {false, kFocusOnlyHotkeysMessage};
  return service_->mode();
}

void HotkeyManager::run(std::uint32_t id) {
  const auto found = actions_.find(id);
  if (found == actions_.end()) return;
  // A copy: the action may load another deck, which rebinds every key.
  const auto action = found->second;
  action();
}

std::unique_ptr<GlobalKeyService> makeGlobalKeyService() {
  // Under Wayland an X11 grab would see only keys typed into X11 windows.
  const char* session = std::getenv("XDG_SESSION_TYPE");
  if (!session || std::string_view(session) != "wayland") {
    if (auto keys = X11GlobalKeys::open()) return keys;
  }
  if (auto portal = GlobalShortcutsPortal::open()) return portal;
  return std::make_unique<FocusOnlyKeys>();
}

}  // namespace tavorin

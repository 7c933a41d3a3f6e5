// The deck's keys: bound afresh whenever the active deck or its tiles change,
// so a key always presses the tile as it is now.
#include "app/AppModel.h"
#include "model/HotkeyBinding.h"

namespace tavorin {

namespace {

// Ctrl+Alt+Super with M (the compact window) and P (the presenter bar).
constexpr std::uint32_t kFixedModifiers = hotkey_modifier::control | hotkey_modifier::option | hotkey_modifier::command;
constexpr std::uint32_t kKeyM = 46;
constexpr std::uint32_t kKeyP = 35;

}  // namespace

void AppModel::rebuildHotkeys() {
  if (!hotkeys.hasService()) return;
  hotkeys.removeAll();
  // The two fixed keys fail silently when another program holds them.
  hotkeys.registerKey(kKeyM, kFixedModifiers, [this] {
    if (onToggleMiniMode) onToggleMiniMode();
  });
  hotkeys.registerKey(kKeyP, kFixedModifiers, [this] { runAction(DeckAction::plain(DeckActionKind::presenterBar)); });

  std::set<Uuid> refused;
  if (const Deck* deck = deckStore.activeDeck()) {
    for (const DeckTile& tile : deck->tiles) {
      if (!tile.hotkey) continue;
      // The tile as it is at binding time: the next change binds again.
      if (!hotkeys.registerKey(tile.hotkey->keyCode, tile.hotkey->carbonModifiers, [this, tile] { runTile(tile); })) {
        refused.insert(tile.id);
      }
    }
  }
  if (refused != refusedHotkeyTiles.get()) refusedHotkeyTiles = std::move(refused);
  refreshHotkeyNotice();
  // The desktop may drop the keys later (a lost X server, a portal that
  // refuses after asking the operator): the notice follows.
  if (!hotkeyWatch_.active()) hotkeyWatch_ = queue_.every(2.0, [this] { refreshHotkeyNotice(); });
}

void AppModel::refreshHotkeyNotice() {
  const auto mode = hotkeys.mode();
  const std::string notice = mode.global ? "" : mode.message;
  if (notice != hotkeyNotice.get()) {
    if (!notice.empty()) appendLog(notice);
    hotkeyNotice = notice;
  }
}

void AppModel::pressHotkeyInWindow(std::uint32_t evdevCode, std::uint32_t modifiers) {
  hotkeys.pressLocal(evdevCode, modifiers);
}

}  // namespace tavorin

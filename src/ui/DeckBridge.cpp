#include "ui/DeckBridge.h"

#include <QKeyEvent>
#include <QQuickItem>
#include <QQuickWindow>
#include <linux/input-event-codes.h>

#include <algorithm>
#include <cmath>

#include "app/AppModel.h"
#include "model/HotkeyKeys.h"
#include "ui/QtText.h"

namespace tavorin {

namespace {

std::optional<Uuid> uuidOf(const QString& id) { return Uuid::parse(id.toStdString()); }

struct KindInfo {
  DeckActionKind kind;
  const char* label;
  // Which list the editor picks the action's target from; empty for none.
  const char* target;
};

constexpr KindInfo kKinds[] = {
    {DeckActionKind::loadLayout, "Load scene", "scene"},
    {DeckActionKind::take, "Take", ""},
    {DeckActionKind::cut, "Cut", ""},
    {DeckActionKind::fireTransition, "Fire transition", "transition"},
    {DeckActionKind::punchBlack, "Cut to black", ""},
    {DeckActionKind::punchBRB, "Be right back", ""},
    {DeckActionKind::toggleStream, "Start/stop a stream", "stream"},
    {DeckActionKind::toggleRecord, "Start/stop recording", ""},
    {DeckActionKind::toggleChannelAir, "Channel on air", "channel"},
    {DeckActionKind::toggleChannelRoute, "Channel route", "route"},
    {DeckActionKind::channelFader, "Channel fader", "channel"},
    {DeckActionKind::channelStrip, "Channel strip", "channel"},
    {DeckActionKind::masterStrip, "Output mute", "output"},
    {DeckActionKind::playSound, "Play sound", "sound"},
    {DeckActionKind::stopSounds, "Stop sounds", ""},
    {DeckActionKind::fireGraphic, "Fire graphic", "graphic"},
    {DeckActionKind::programScreenshot, "Screenshot", ""},
    {DeckActionKind::restartAudio, "Restart audio", ""},
    {DeckActionKind::saveReplay, "Save replay", ""},
    {DeckActionKind::toggleVirtualCamera, "Virtual camera", ""},
    {DeckActionKind::toggleNDI, "NDI output", ""},
    {DeckActionKind::presenterBar, "Presenter bar", ""},
    {DeckActionKind::presenterZoomReset, "Presenter zoom reset", ""},
    {DeckActionKind::presenterClearInk, "Presenter clear ink", ""},
};

struct SymbolGlyph {
  const char* name;
  const char* glyph;
};

// Drawn with the desktop's ordinary fonts, so no icon theme is needed.
constexpr SymbolGlyph kSymbols[] = {
    {"scene", "▦"},   {"take", "▶"},       {"cut", "✂"},      {"transition", "⇆"}, {"black", "■"},
    {"pause", "❚❚"},  {"stream", "⇧"},     {"record", "●"},   {"mic", "◉"},        {"route", "⇄"},
    {"fader", "⇕"},   {"strip", "☰"},      {"output", "⊕"},   {"sound", "♫"},      {"stop", "◼"},
    {"graphic", "★"}, {"screenshot", "▣"}, {"restart", "⟳"},  {"replay", "↺"},     {"camera", "◘"},
    {"network", "⇶"}, {"presenter", "☝"},  {"zoom", "⊙"},     {"ink", "✎"},        {"square", "□"},
    {"heart", "♥"},   {"star", "☆"},       {"flag", "⚑"},     {"warning", "⚠"},    {"bolt", "⚡"},
};

constexpr std::uint32_t kModifierKeys[] = {KEY_LEFTCTRL, KEY_RIGHTCTRL, KEY_LEFTSHIFT, KEY_RIGHTSHIFT, KEY_LEFTALT,
                                           KEY_RIGHTALT, KEY_LEFTMETA,  KEY_RIGHTMETA, KEY_CAPSLOCK,  KEY_NUMLOCK};

std::uint32_t keyModifiersOf(Qt::KeyboardModifiers qt) {
  std::uint32_t modifiers = 0;
  if (qt & Qt::ControlModifier) modifiers |= key_modifier::control;
  if (qt & Qt::AltModifier) modifiers |= key_modifier::alt;
  if (qt & Qt::ShiftModifier) modifiers |= key_modifier::shift;
  if (qt & Qt::MetaModifier) modifiers |= key_modifier::super;
  return modifiers;
}

std::optional<std::string> textField(const QVariantMap& fields, const char* key) {
  const QString text = fields.value(key).toString().trimmed();
  if (text.isEmpty()) return std::nullopt;
  return text.toStdString();
}

}  // namespace

DeckBridge::DeckBridge(AppModel& model, QObject* parent) : QAbstractListModel(parent), model_(model) {
  rebuild();
  subscriptions_.push_back(model.deckStore.decks.subscribe([this](const auto&) { rebuild(); }));
  subscriptions_.push_back(model.deckStore.activeDeckID.subscribe([this](const auto&) { rebuild(); }));
  subscriptions_.push_back(model.refusedHotkeyTiles.subscribe([this](const auto&) { rebuild(); }));
  subscriptions_.push_back(model.hotkeyNotice.subscribe([this](const auto&) { Q_EMIT hotkeyNoticeChanged(); }));
  // Tallies follow the whole show (switcher, mixer, streams, sounds): looked at, not subscribed to.
  tally_.setInterval(200);
  connect(&tally_, &QTimer::timeout, this, [this] { refreshLooks(); });
  tally_.start();
  model.onToggleMiniMode = [this] { Q_EMIT toggleMiniMode(); };
}

DeckBridge::~DeckBridge() { model_.onToggleMiniMode = nullptr; }

bool DeckBridge::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::KeyPress) return false;
  const auto* key = static_cast<QKeyEvent*>(event);
  if (key->isAutoRepeat()) return false;
  if (auto* window = qobject_cast<QQuickWindow*>(watched)) {
    const QQuickItem* focus = window->activeFocusItem();
    // Text fields and the tile editor's key field keep their keys.
    if (focus && (focus->inherits("QQuickTextInput") || focus->inherits("QQuickTextEdit") ||
                  focus->property("capturesKeys").toBool())) {
      return false;
    }
  }
  if (key->nativeScanCode() > 8) model_.pressHotkeyInWindow(key->nativeScanCode() - 8, keyModifiersOf(key->modifiers()));
  return false;
}

DeckBridge::Row DeckBridge::rowFor(const DeckTile& tile, const PlacedTile& placed) const {
  Row row{tile, model_.tileLook(tile), placed, model_.tileValue(tile), model_.refusedHotkeyTiles.get().contains(tile.id)};
  row.placed.tile = nullptr;
  return row;
}

void DeckBridge::rebuild() {
  std::vector<Row> rows;
  if (const Deck* deck = model_.deckStore.activeDeck()) {
    const auto placed = placeTiles(deck->tiles, columns_);
    for (std::size_t i = 0; i < placed.size(); ++i) rows.push_back(rowFor(deck->tiles[i], placed[i]));
  }
  const bool sameTiles = std::equal(rows.begin(), rows.end(), rows_.begin(), rows_.end(),
                                   [](const Row& a, const Row& b) { return a.tile.id == b.tile.id; });
  if (sameTiles) {
    // Moved, resized or restyled: the delegates stay (one may be the drag that moved it).
    rows_ = std::move(rows);
    if (!rows_.empty()) Q_EMIT dataChanged(index(0), index(static_cast<int>(rows_.size()) - 1));
  } else {
    beginResetModel();
    rows_ = std::move(rows);
    endResetModel();
  }
  Q_EMIT layoutChanged();
  Q_EMIT decksChanged();
}

void DeckBridge::refreshLooks() {
  for (std::size_t i = 0; i < rows_.size(); ++i) {
    Row& row = rows_[i];
    auto look = model_.tileLook(row.tile);
    auto value = model_.tileValue(row.tile);
    if (look == row.look && value == row.value) continue;
    row.look = std::move(look);
    row.value = value;
    const auto at = index(static_cast<int>(i));
    Q_EMIT dataChanged(at, at);
  }
}

int DeckBridge::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : static_cast<int>(rows_.size()); }

int DeckBridge::rows() const {
  int bottom = 0;
  for (const Row& row : rows_) bottom = std::max(bottom, row.placed.y + row.placed.h);
  return bottom;
}

QVariant DeckBridge::data(const QModelIndex& index, int role) const {
  if (index.row() < 0 || index.row() >= rowCount()) return {};
  const Row& row = rows_[static_cast<std::size_t>(index.row())];
  switch (role) {
    case tileIDRole: return qText(row.tile.id.toString());
    case Qt::DisplayRole:
    case titleRole: return qText(row.look.title);
    case colorRole: return qText(row.look.color);
    case glyphRole: return glyphFor(row.look.symbol);
    case onRole: return row.look.on;
    case existsRole: return row.look.exists;
    case hideLabelRole: return row.tile.hideLabel.value_or(false);
    case cellXRole: return row.placed.x;
    case cellYRole: return row.placed.y;
    case cellWRole: return row.placed.w;
    case cellHRole: return row.placed.h;
    case faderRole: return isFaderTile(row.tile.action.kind);
    case valueRole: return row.value.value_or(0.5);
    case hotkeyRole: return row.tile.hotkey ? qText(row.tile.hotkey->display) : QString();
    case hotkeyRefusedRole: return row.refused;
  }
  return {};
}

QHash<int, QByteArray> DeckBridge::roleNames() const {
  return {{tileIDRole, "tileID"}, {titleRole, "title"},       {colorRole, "tileColor"}, {glyphRole, "glyph"},
          {onRole, "on"},         {existsRole, "exists"},     {hideLabelRole, "hideLabel"}, {cellXRole, "cellX"},
          {cellYRole, "cellY"},   {cellWRole, "cellW"},       {cellHRole, "cellH"},     {faderRole, "fader"},
          {valueRole, "value"},   {hotkeyRole, "hotkey"},     {hotkeyRefusedRole, "hotkeyRefused"}};
}

QVariantList DeckBridge::decks() const {
  QVariantList list;
  for (const Deck& deck : model_.deckStore.decks.get()) {
    list.append(QVariantMap{{"id", qText(deck.id.toString())}, {"name", qText(deck.name)}});
  }
  return list;
}

QString DeckBridge::activeDeckID() const {
  const auto& id = model_.deckStore.activeDeckID.get();
  return id ? qText(id->toString()) : QString();
}

QString DeckBridge::deckName() const {
  const Deck* deck = model_.deckStore.activeDeck();
  return deck ? qText(deck->name) : QString();
}

QString DeckBridge::hotkeyNotice() const { return qText(model_.hotkeyNotice.get()); }

QString DeckBridge::glyphFor(const std::string& symbol) {
  for (const auto& [name, glyph] : kSymbols)
    if (symbol == name) return QString::fromUtf8(glyph);
  return QStringLiteral("□");
}

void DeckBridge::setWidth(double width) {
  const int columns = deckColumns(width, kUnit, kGap);
  if (columns == columns_) return;
  columns_ = columns;
  rebuild();
}

const DeckBridge::Row* DeckBridge::find(const QString& tileID) const {
  const auto id = uuidOf(tileID);
  if (!id) return nullptr;
  for (const Row& row : rows_)
    if (row.tile.id == *id) return &row;
  return nullptr;
}

std::vector<PlacedTile> DeckBridge::placedNow() const {
  std::vector<PlacedTile> placed;
  for (const Row& row : rows_) {
    placed.push_back(row.placed);
    placed.back().tile = &row.tile;
  }
  return placed;
}

void DeckBridge::press(const QString& tileID) {
  // A copy: the press may change the deck and with it these rows.
  if (const Row* row = find(tileID)) {
    const DeckTile tile = row->tile;
    model_.runTile(tile);
    refreshLooks();
  }
}

void DeckBridge::setValue(const QString& tileID, double value) {
  if (const Row* row = find(tileID)) model_.setTileValue(row->tile, value);
}

bool DeckBridge::moveBy(const QString& tileID, double tx, double ty) {
  const Row* row = find(tileID);
  if (!row) return false;
  const auto placed = placedNow();
  const auto index = static_cast<std::size_t>(row - rows_.data());
  const auto target = dragMoveTarget(placed, index, columns_, tx, ty, kUnit, kGap);
  if (!target) return false;  // the tile springs back to where it is placed
  model_.deckStore.moveTile(row->tile.id, target->x, target->y);
  return true;
}

bool DeckBridge::resizeBy(const QString& tileID, double tx, double ty) {
  const Row* row = find(tileID);
  if (!row) return false;
  const auto placed = placedNow();
  const auto index = static_cast<std::size_t>(row - rows_.data());
  const auto span = dragResizeTarget(placed, index, columns_, tx, ty, kUnit, kGap);
  if (!span) return false;
  DeckTile tile = row->tile;
  tile.cellW = span->w;
  tile.cellH = span->h;
  model_.deckStore.updateTile(tile);
  return true;
}

void DeckBridge::removeTile(const QString& tileID) {
  if (const auto id = uuidOf(tileID)) model_.deckStore.removeTile(*id);
}

void DeckBridge::switchDeck(const QString& deckID) {
  const auto id = uuidOf(deckID);
  const auto& all = model_.deckStore.decks.get();
  if (id && std::any_of(all.begin(), all.end(), [&](const Deck& d) { return d.id == *id; })) model_.deckStore.setActiveDeck(*id);
}

void DeckBridge::addDeck(const QString& name) { model_.deckStore.add(name.trimmed().toStdString()); }

void DeckBridge::renameDeck(const QString& deckID, const QString& name) {
  if (const auto id = uuidOf(deckID)) model_.deckStore.rename(*id, name.trimmed().toStdString());
}

void DeckBridge::removeDeck(const QString& deckID) {
  if (const auto id = uuidOf(deckID)) model_.deckStore.remove(*id);
}

QVariantList DeckBridge::actionKinds() const {
  QVariantList list;
  for (const auto& info : kKinds) {
    list.append(QVariantMap{{"kind", qText(enumName(info.kind))}, {"label", info.label}, {"target", info.target}});
  }
  return list;
}

QVariantList DeckBridge::targets(const QString& target) const {
  QVariantList list;
  auto add = [&](const std::string& id, const std::string& name) {
    list.append(QVariantMap{{"id", qText(id)}, {"name", qText(name)}});
  };
  if (target == "scene") {
    for (const auto& scene : model_.layoutStore.layouts.get()) add(scene.id.toString(), scene.name);
  } else if (target == "stream") {
    for (const auto& destination : model_.streamStore.destinations.get()) add(destination.id.toString(), destination.name);
  } else if (target == "channel" || target == "route") {
    for (const auto& channel : model_.audioMixer.channels.get()) add(channel.id, channel.name);
  } else if (target == "sound") {
    for (const auto& sound : model_.soundEffects.store.sounds.get()) add(sound.id.toString(), sound.name);
  } else if (target == "graphic") {
    for (const auto& graphic : model_.fireGraphics.store.graphics.get()) add(graphic.id.toString(), graphic.name);
  } else if (target == "transition") {
    for (const auto& custom : model_.transitionStore.transitions.get()) add(custom.id.toString(), custom.name);
  } else if (target == "output") {
    add("program", "Program");
    for (const auto& bus : model_.audioMixer.monitors.get()) add(bus.id, bus.name);
  }
  return list;
}

QVariantList DeckBridge::symbols() const {
  QVariantList list;
  for (const auto& [name, glyph] : kSymbols) list.append(QVariantMap{{"name", name}, {"glyph", QString::fromUtf8(glyph)}});
  return list;
}

QVariantMap DeckBridge::tile(const QString& tileID) const {
  DeckTile tile;
  tile.action = DeckAction::plain(DeckActionKind::take);
  bool existing = false;
  if (const auto id = uuidOf(tileID)) {
    if (const DeckTile* stored = model_.deckStore.findTile(*id)) {
      tile = *stored;
      existing = true;
    }
  }
  const auto& action = tile.action;
  QVariantMap map;
  map["id"] = existing ? qText(tile.id.toString()) : QString();
  map["kind"] = qText(enumName(action.kind));
  map["target"] = payloadOf(action.kind) == DeckPayload::id ? qText(action.id.toString()) : qText(action.channel);
  map["route"] = qText(enumName(action.route));
  map["label"] = qText(tile.label.value_or(""));
  map["generatedTitle"] = qText(model_.tileSummary(action).realTitle);
  map["colorHex"] = qText(tile.colorHex.value_or(""));
  map["symbol"] = qText(tile.symbol.value_or(""));
  map["size"] = tile.size ? qText(enumName(*tile.size)) : QString();
  map["hideLabel"] = tile.hideLabel.value_or(false);
  map["soundMode"] = qText(enumName(tile.soundMode.value_or(SoundTileMode::restart)));
  map["takeTransitionID"] = tile.takeTransitionID ? qText(tile.takeTransitionID->toString()) : QString();
  map["hasHotkey"] = tile.hotkey.has_value();
  map["hotkeyKeyCode"] = tile.hotkey ? static_cast<int>(tile.hotkey->keyCode) : 0;
  map["hotkeyModifiers"] = tile.hotkey ? static_cast<int>(tile.hotkey->carbonModifiers) : 0;
  map["hotkeyDisplay"] = tile.hotkey ? qText(tile.hotkey->display) : QString();
  return map;
}

QString DeckBridge::saveTile(const QVariantMap& fields) {
  const auto kind = enumFromName<DeckActionKind>(fields.value("kind").toString().toStdString());
  if (!kind) return {};
  DeckAction action = DeckAction::plain(*kind);
  const std::string target = fields.value("target").toString().toStdString();
  switch (payloadOf(*kind)) {
    case DeckPayload::none:
      break;
    case DeckPayload::id:
      // A kind whose library is still empty keeps a nil id: the tile reads as missing.
      action.id = Uuid::parse(target).value_or(Uuid{});
      break;
    case DeckPayload::channel:
      action.channel = target;
      break;
    case DeckPayload::channelAndRoute:
      action.channel = target;
      action.route = enumFromName<ChannelRoute>(fields.value("route").toString().toStdString()).value_or(ChannelRoute::air);
      break;
  }

  DeckTile tile;
  if (const auto existing = uuidOf(fields.value("id").toString())) {
    const DeckTile* stored = model_.deckStore.findTile(*existing);
    if (!stored) return {};
    tile = *stored;
  } else {
    const auto added = model_.deckStore.addTile(action, std::nullopt);
    if (!added) return {};
    tile = *model_.deckStore.findTile(*added);
  }
  tile.action = action;
  tile.label = textField(fields, "label");
  tile.colorHex = textField(fields, "colorHex");
  tile.symbol = textField(fields, "symbol");
  const auto size = textField(fields, "size");
  tile.size = size ? enumFromName<TileSize>(*size) : std::nullopt;
  tile.hideLabel = fields.value("hideLabel").toBool() ? std::optional<bool>(true) : std::nullopt;
  tile.soundMode = *kind == DeckActionKind::playSound
                       ? enumFromName<SoundTileMode>(fields.value("soundMode").toString().toStdString())
                       : std::nullopt;
  tile.takeTransitionID = *kind == DeckActionKind::loadLayout
                              ? Uuid::parse(fields.value("takeTransitionID").toString().toStdString())
                              : std::nullopt;
  if (fields.value("hasHotkey").toBool()) {
    tile.hotkey = HotkeyBinding{static_cast<std::uint32_t>(fields.value("hotkeyKeyCode").toInt()),
                                static_cast<std::uint32_t>(fields.value("hotkeyModifiers").toInt()),
                                fields.value("hotkeyDisplay").toString().toStdString()};
  } else {
    tile.hotkey.reset();
  }
  model_.deckStore.updateTile(tile);
  return qText(tile.id.toString());
}

QVariantMap DeckBridge::captureKey(int nativeScanCode, int qtModifiers, const QString& text) const {
  const auto evdev = static_cast<std::uint32_t>(std::max(nativeScanCode - 8, 0));
  // A modifier alone is the start of a chord, not a key.
  if (std::find(std::begin(kModifierKeys), std::end(kModifierKeys), evdev) != std::end(kModifierKeys)) {
    return {{"ok", false}, {"pending", true}};
  }
  const auto captured = captureHotkey(evdev, keyModifiersOf(Qt::KeyboardModifiers(qtModifiers)), text.toStdString());
  if (const auto* binding = std::get_if<HotkeyBinding>(&captured)) {
    return {{"ok", true},
            {"display", qText(binding->display)},
            {"keyCode", static_cast<int>(binding->keyCode)},
            {"modifiers", static_cast<int>(binding->carbonModifiers)}};
  }
  switch (std::get<HotkeyRefusal>(captured)) {
    case HotkeyRefusal::needsModifier:
      return {{"ok", false}, {"message", "Add Ctrl, Alt, Shift or Super — or use F1–F20"}};
    case HotkeyRefusal::reserved:
      return {{"ok", false}, {"message", "Ctrl+Alt+F1–F12 switch to a text console — choose another key"}};
    case HotkeyRefusal::unknownKey:
      break;
  }
  return {{"ok", false}, {"message", "This key can't be a hotkey"}};
}

}  // namespace tavorin

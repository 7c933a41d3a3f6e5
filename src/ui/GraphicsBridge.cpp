#include "ui/GraphicsBridge.h"

#include "app/AppModel.h"
#include "base/AtomicFile.h"
#include "base/EnumNames.h"
#include "model/OverlayManifest.h"
#include "ui/QtText.h"

namespace tavorin {

namespace {

using Move = LayerAnimation::Move;

struct MoveLabel {
  Move move;
  const char* label;
};
constexpr MoveLabel kMoves[] = {{Move::none, "None"},
                                {Move::fade, "Fade"},
                                {Move::pop, "Pop"},
                                {Move::slideLeft, "Slide from the left"},
                                {Move::slideRight, "Slide from the right"},
                                {Move::slideTop, "Slide from the top"},
                                {Move::slideBottom, "Slide from the bottom"}};

struct AutoHide {
  double seconds;
  const char* label;
};
constexpr AutoHide kAutoHide[] = {{0, "Until dismissed"}, {5, "5s"},  {10, "10s"},     {15, "15s"},
                                  {30, "30s"},            {60, "60s"}, {120, "2 min"}, {300, "5 min"}};

std::optional<Uuid> uuidOf(const QString& text) { return Uuid::parse(text.toStdString()); }

QString autoHideLabel(double seconds) {
  for (const auto& choice : kAutoHide) {
    if (choice.seconds == seconds) return choice.label;
  }
  return seconds > 0 ? QString::number(seconds) + " s" : QString(kAutoHide[0].label);
}

}  // namespace

GraphicsBridge::GraphicsBridge(AppModel& model, QObject* parent) : QObject(parent), model_(model) {
  auto changed = [this](const auto&) { Q_EMIT cuesChanged(); };
  subscriptions_.push_back(model.fireGraphics.store.graphics.subscribe(changed));
  subscriptions_.push_back(model.fireGraphics.activeFireIDs.subscribe(changed));
  subscriptions_.push_back(model.fireGraphics.drawnFireIDs.subscribe(changed));
  subscriptions_.push_back(model.overlayStore.overlays.subscribe(changed));
  subscriptions_.push_back(model.sources.subscribe(changed));
  subscriptions_.push_back(
      model.fireGraphics.pendingFireGraphicEdit.subscribe([this](const auto&) { Q_EMIT pendingEditChanged(); }));
}

QVariantList GraphicsBridge::cues() const {
  QVariantList list;
  const auto& active = model_.fireGraphics.activeFireIDs.get();
  const auto& drawn = model_.fireGraphics.drawnFireIDs.get();
  for (const auto& graphic : model_.fireGraphics.store.graphics.get()) {
    QString shows;
    bool missing = false;
    if (graphic.overlayID) {
      const auto item = model_.overlayStore.find(*graphic.overlayID);
      missing = !item;
      shows = item ? "Overlay “" + qText(item->name) + "”" : "Overlay missing";
    } else if (graphic.sourceID && model_.sourceLifecycle.find(*graphic.sourceID)) {
      shows = qText(model_.displayName(*graphic.sourceID));
    } else {
      missing = true;
      shows = "Media missing";
    }
    const bool onAir = active.contains(graphic.id);
    list.append(QVariantMap{{"id", qText(graphic.id.toString())},
                            {"name", qText(graphic.name)},
                            {"shows", shows},
                            {"onAir", onAir},
                            {"leaving", !onAir && drawn.contains(graphic.id)},
                            {"missing", missing},
                            {"autoHide", autoHideLabel(graphic.durationSeconds)}});
  }
  return list;
}

QString GraphicsBridge::pendingEdit() const {
  const auto& pending = model_.fireGraphics.pendingFireGraphicEdit.get();
  return pending ? qText(pending->id.toString()) : QString();
}

QVariantList GraphicsBridge::moves() const {
  QVariantList list;
  for (const auto& [move, label] : kMoves) list.append(QVariantMap{{"value", qText(enumName(move))}, {"label", label}});
  return list;
}

QVariantList GraphicsBridge::autoHideChoices() const {
  QVariantList list;
  for (const auto& [seconds, label] : kAutoHide) list.append(QVariantMap{{"seconds", seconds}, {"label", label}});
  return list;
}

void GraphicsBridge::fire(const QString& id) {
  if (auto cueID = uuidOf(id)) model_.fireGraphic(*cueID);
}

void GraphicsBridge::clearPendingEdit() {
  if (model_.fireGraphics.pendingFireGraphicEdit.get()) model_.fireGraphics.pendingFireGraphicEdit = std::nullopt;
}

QString GraphicsBridge::newFromOverlay(const QString& overlayID) {
  const auto itemID = uuidOf(overlayID);
  const auto id = itemID ? model_.makeCueFromOverlay(*itemID) : std::nullopt;
  return id ? qText(id->toString()) : QString();
}

QString GraphicsBridge::newFromSource(const QString& sourceID) {
  const auto id = model_.makeCueFromSource(sourceID.toStdString());
  return id ? qText(id->toString()) : QString();
}

void GraphicsBridge::remove(const QString& id) {
  if (auto cueID = uuidOf(id)) model_.fireGraphics.remove(*cueID);
  Q_EMIT stagingChanged();
}

QVariantList GraphicsBridge::overlayChoices() const {
  QVariantList list;
  for (const auto& item : model_.overlayStore.overlays.get()) {
    list.append(QVariantMap{{"id", qText(item.id.toString())}, {"name", qText(item.name)}});
  }
  return list;
}

QVariantList GraphicsBridge::sourceChoices() const {
  QVariantList list;
  for (const auto& source : model_.sources.get()) {
    // An overlay of the show is offered as its library item, which fires a page of its own.
    if (source->id().starts_with("overlay:")) continue;
    list.append(QVariantMap{{"id", qText(source->id())}, {"name", qText(model_.displayName(source->id()))}});
  }
  return list;
}

QVariantList GraphicsBridge::soundChoices() const {
  QVariantList list;
  for (const auto& sound : model_.soundEffects.store.sounds.get()) {
    list.append(QVariantMap{{"id", qText(sound.id.toString())}, {"name", qText(sound.name)}});
  }
  return list;
}

QVariantMap GraphicsBridge::cue(const QString& id) const {
  const auto cueID = uuidOf(id);
  const auto graphic = cueID ? model_.fireGraphics.store.find(*cueID) : std::nullopt;
  if (!graphic) return {};
  QVariantMap config;
  for (const auto& [key, value] : graphic->config) config.insert(qText(key), qText(value));
  return QVariantMap{{"id", id},
                     {"name", qText(graphic->name)},
                     {"overlayID", graphic->overlayID ? qText(graphic->overlayID->toString()) : QString()},
                     {"sourceID", graphic->sourceID ? qText(*graphic->sourceID) : QString()},
                     {"config", config},
                     {"centerX", graphic->center.x},
                     {"centerY", graphic->center.y},
                     {"width", graphic->size.width},
                     {"height", graphic->size.height},
                     {"durationSeconds", graphic->durationSeconds},
                     {"soundID", graphic->soundID ? qText(graphic->soundID->toString()) : QString()},
                     {"enterMove", qText(enumName(graphic->enterMove))},
                     {"enterDuration", graphic->enterDuration},
                     {"exitMove", qText(enumName(graphic->exitMove))},
                     {"exitDuration", graphic->exitDuration}};
}

void GraphicsBridge::save(const QVariantMap& fields) {
  const auto cueID = uuidOf(fields.value("id").toString());
  auto graphic = cueID ? model_.fireGraphics.store.find(*cueID) : std::nullopt;
  if (!graphic) return;
  if (auto name = fields.value("name").toString().trimmed(); !name.isEmpty()) graphic->name = name.toStdString();
  const auto overlayID = uuidOf(fields.value("overlayID").toString());
  const auto sourceID = fields.value("sourceID").toString().toStdString();
  if (overlayID) {
    if (graphic->overlayID != overlayID) graphic->config.clear();
    graphic->overlayID = overlayID;
    graphic->sourceID.reset();
  } else if (!sourceID.empty()) {
    graphic->overlayID.reset();
    graphic->sourceID = sourceID;
    graphic->config.clear();
  }
  if (graphic->overlayID) {
    const auto config = fields.value("config").toMap();
    for (auto it = config.begin(); it != config.end(); ++it) {
      graphic->config[it.key().toStdString()] = it.value().toString().toStdString();
    }
  }
  auto unit = [&](const char* key, double fallback, double low) {
    bool ok = false;
    const double value = fields.value(key).toDouble(&ok);
    return ok ? std::clamp(value, low, 1.0) : fallback;
  };
  graphic->center = {unit("centerX", graphic->center.x, 0), unit("centerY", graphic->center.y, 0)};
  graphic->size = {unit("width", graphic->size.width, 0.01), unit("height", graphic->size.height, 0.01)};
  graphic->durationSeconds = std::max(0.0, fields.value("durationSeconds", graphic->durationSeconds).toDouble());
  graphic->soundID = uuidOf(fields.value("soundID").toString());
  auto move = [&](const char* key, Move fallback) {
    return enumFromName<Move>(fields.value(key).toString().toStdString()).value_or(fallback);
  };
  graphic->enterMove = move("enterMove", graphic->enterMove);
  graphic->exitMove = move("exitMove", graphic->exitMove);
  graphic->enterDuration = std::clamp(fields.value("enterDuration", graphic->enterDuration).toDouble(), 0.05, 5.0);
  graphic->exitDuration = std::clamp(fields.value("exitDuration", graphic->exitDuration).toDouble(), 0.05, 5.0);
  model_.fireGraphics.store.upsert(*graphic);
}

QVariantList GraphicsBridge::params(const QString& overlayID, const QVariantMap& config) const {
  QVariantList list;
  const auto itemID = uuidOf(overlayID);
  const auto item = itemID ? model_.overlayStore.find(*itemID) : std::nullopt;
  if (!item) return list;
  const auto html = readWholeFile(model_.overlayStore.fileURL(*item));
  if (!html) return list;
  for (const auto& param : parseOverlayParams(*html)) {
    const QString key = qText(param.key);
    list.append(QVariantMap{{"key", key},
                            {"label", qText(param.label)},
                            {"type", qText(param.type)},
                            {"value", config.contains(key) ? config.value(key).toString() : qText(param.defaultValue)}});
  }
  return list;
}

void GraphicsBridge::editOnCanvas(const QString& id) {
  if (auto cueID = uuidOf(id)) model_.stageCue(*cueID);
  Q_EMIT stagingChanged();
}

void GraphicsBridge::addAsLayer(const QString& id) {
  if (auto cueID = uuidOf(id)) model_.addCueLayer(*cueID);
}

void GraphicsBridge::saveLayerAsCue(const QString& layerID) {
  if (auto id = uuidOf(layerID)) model_.saveLayerAsCue(*id);
  Q_EMIT stagingChanged();
}

bool GraphicsBridge::staging() const { return model_.fireGraphics.editingFireGraphicID.has_value(); }

}  // namespace tavorin

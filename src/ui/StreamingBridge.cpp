#include "ui/StreamingBridge.h"

#include <cmath>

#include "app/AppModel.h"
#include "ui/QtText.h"
#include "base/HostTime.h"
#include "streaming/StreamDestinationEditor.h"

namespace tavorin {

namespace {


QString resolutionText(StreamResolution r) {
  switch (r) {
    case StreamResolution::source: return "Canvas size";
    case StreamResolution::p1080: return "1080p";
    case StreamResolution::p720: return "720p";
  }
  return {};
}

QString stateName(StreamState::Kind kind) {
  switch (kind) {
    case StreamState::Kind::live: return "live";
    case StreamState::Kind::reconnecting: return "reconnecting";
    case StreamState::Kind::error: return "error";
    case StreamState::Kind::idle: return "idle";
    case StreamState::Kind::connecting: return "connecting";
  }
  return {};
}

}  // namespace

StreamingBridge::StreamingBridge(AppModel& model, QObject* parent) : QAbstractListModel(parent), model_(model) {
  reload();
  subscriptions_.push_back(model.streamStore.destinations.subscribe([this](const auto&) { reload(); }));
  auto refresh = [this](const auto&) {
    if (!destinations_.empty()) {
      Q_EMIT dataChanged(index(0), index(rowCount() - 1), {stateRole, stateTextRole, activeRole, healthTextRole});
    }
    Q_EMIT statesChanged();
  };
  subscriptions_.push_back(model.streaming.states.subscribe(refresh));
  subscriptions_.push_back(model.streaming.health.health.subscribe(refresh));
  // The retry countdown moves on its own while a destination waits to try again.
  countdown_.setInterval(500);
  connect(&countdown_, &QTimer::timeout, this, [this] {
    bool waiting = false;
    for (const auto& [id, state] : model_.streaming.states.get()) waiting = waiting || state.kind == StreamState::Kind::reconnecting;
    if (waiting && !destinations_.empty()) Q_EMIT dataChanged(index(0), index(rowCount() - 1), {stateTextRole});
  });
  countdown_.start();
}

void StreamingBridge::reload() {
  const bool countChanges = model_.streamStore.destinations.get().size() != destinations_.size();
  beginResetModel();
  destinations_ = model_.streamStore.destinations.get();
  endResetModel();
  if (countChanges) Q_EMIT countChanged();
}

int StreamingBridge::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(destinations_.size());
}

QVariant StreamingBridge::data(const QModelIndex& index, int role) const {
  if (index.row() < 0 || index.row() >= rowCount()) return {};
  const StreamDestination& d = destinations_[static_cast<std::size_t>(index.row())];
  const auto& states = model_.streaming.states.get();
  const auto stateIt = states.find(d.id);
  const StreamState state = stateIt == states.end() ? StreamState::idle() : stateIt->second;
  switch (role) {
    case idRole: return qText(d.id.toString());
    case Qt::DisplayRole:
    case nameRole: return qText(d.name);
    case platformNameRole: return qText(displayName(d.platform));
    case serverRole: return qText(d.serverURL);
    case qualityTextRole:
      return QString("%1 · %2 fps · %3 kbps")
          .arg(resolutionText(d.quality.resolution))
          .arg(d.quality.fps)
          .arg(d.quality.videoBitrateKbps);
    case verticalRole: return d.canvas.value_or(StreamCanvas::main) == StreamCanvas::vertical;
    case stateRole: return stateName(state.kind);
    case stateTextRole: {
      QString text = qText(state.label());
      if (state.kind == StreamState::Kind::reconnecting && state.since > 0) {
        const double left = state.since + state.retryAfter - wallClockNow();
        text += left >= 0.5 ? QString(", next in %1 s").arg(static_cast<int>(std::lround(left))) : QString(", trying");
        if (!state.message.empty()) text += " — " + qText(state.message);
      }
      return text;
    }
    case activeRole: return state.isActive();
    case healthTextRole: {
      const auto& health = model_.streaming.health.health.get();
      auto it = health.find(d.id);
      if (it == health.end() || state.kind != StreamState::Kind::live) return QString();
      return QString("%1 kbps · %2 fps · %3 dropped").arg(it->second.kbps).arg(it->second.encoderFPS).arg(it->second.droppedFrames);
    }
  }
  return {};
}

QHash<int, QByteArray> StreamingBridge::roleNames() const {
  return {{idRole, "destinationID"}, {nameRole, "name"},         {platformNameRole, "platformName"},
          {serverRole, "server"},        {qualityTextRole, "qualityText"}, {verticalRole, "vertical"},
          {stateRole, "state"},          {stateTextRole, "stateText"},     {activeRole, "active"},
          {healthTextRole, "healthText"}};
}

bool StreamingBridge::anyActive() const { return model_.streaming.isAnyActive(); }

QVariantList StreamingBridge::platforms() const {
  QVariantList list;
  for (const auto& [platform, key] : EnumNames<StreamPlatform>::table) {
    list.push_back(QVariantMap{{"platform", qText(key)}, {"name", qText(displayName(platform))}});
  }
  return list;
}

void StreamingBridge::toggle(const QString& id) {
  if (const auto parsed = Uuid::parse(id.toStdString())) model_.toggleStream(*parsed);
}

void StreamingBridge::goLiveAll() {
  const auto& states = model_.streaming.states.get();
  for (const StreamDestination& d : destinations_) {
    auto it = states.find(d.id);
    if (it == states.end() || !it->second.isActive()) model_.toggleStream(d.id);
  }
}

void StreamingBridge::stopAll() {
  const auto& states = model_.streaming.states.get();
  for (const StreamDestination& d : destinations_) {
    auto it = states.find(d.id);
    if (it != states.end() && it->second.isActive()) model_.toggleStream(d.id);
  }
}

void StreamingBridge::remove(const QString& id) {
  if (const auto parsed = Uuid::parse(id.toStdString())) model_.removeStreamDestination(*parsed);
}

QVariantMap StreamingBridge::toMap(const StreamDestination& d) {
  return {{"id", qText(d.id.toString())},
          {"name", qText(d.name)},
          {"platform", qText(enumName(d.platform))},
          {"server", qText(d.serverURL)},
          {"resolution", qText(enumName(d.quality.resolution))},
          {"fps", d.quality.fps},
          {"videoKbps", d.quality.videoBitrateKbps},
          {"audioKbps", d.quality.audioBitrateKbps},
          {"bandwidthTest", d.bandwidthTest.value_or(false)},
          {"vertical", d.canvas.value_or(StreamCanvas::main) == StreamCanvas::vertical}};
}

StreamDestination StreamingBridge::fromMap(const QVariantMap& map) {
  StreamDestination d;
  if (const auto id = Uuid::parse(map.value("id").toString().toStdString())) d.id = *id;
  d.name = map.value("name").toString().trimmed().toStdString();
  d.platform = enumFromName<StreamPlatform>(map.value("platform").toString().toStdString()).value_or(StreamPlatform::custom);
  d.serverURL = map.value("server").toString().trimmed().toStdString();
  d.quality.resolution =
      enumFromName<StreamResolution>(map.value("resolution").toString().toStdString()).value_or(StreamResolution::p1080);
  d.quality.fps = map.value("fps", 30).toInt();
  d.quality.videoBitrateKbps = map.value("videoKbps", 6000).toInt();
  d.quality.audioBitrateKbps = map.value("audioKbps", 160).toInt();
  if (d.platform == StreamPlatform::twitch) d.bandwidthTest = map.value("bandwidthTest").toBool();
  if (map.value("vertical").toBool()) d.canvas = StreamCanvas::vertical;
  return d;
}

QVariantMap StreamingBridge::draft(const QString& id) const {
  if (const auto parsed = Uuid::parse(id.toStdString())) {
    for (const StreamDestination& d : destinations_) {
      if (d.id == *parsed) return toMap(d);
    }
  }
  StreamDestination fresh;
  changePlatform(fresh, StreamPlatform::twitch);
  QVariantMap map = toMap(fresh);
  map["id"] = QString();  // not saved yet
  return map;
}

QVariantMap StreamingBridge::withPlatform(const QVariantMap& draft, const QString& platform) const {
  StreamDestination d = fromMap(draft);
  if (const auto to = enumFromName<StreamPlatform>(platform.toStdString())) changePlatform(d, *to);
  QVariantMap map = toMap(d);
  map["id"] = draft.value("id");
  return map;
}

QVariantList StreamingBridge::frameRates(const QString& platform) const {
  QVariantList list;
  const auto parsed = enumFromName<StreamPlatform>(platform.toStdString()).value_or(StreamPlatform::custom);
  for (int fps : frameRateChoices(parsed)) list.push_back(fps);
  return list;
}

QString StreamingBridge::advice(const QVariantMap& draft) const {
  const StreamDestination d = fromMap(draft);
  QString text = qText(tavorin::advice(d.platform));
  if (const auto vertical = verticalAdvice(d)) text += "\n" + qText(*vertical);
  return text;
}

QString StreamingBridge::maskedKey(const QString& id) const {
  const auto parsed = Uuid::parse(id.toStdString());
  const auto key = parsed ? model_.streamKeys.key(*parsed) : std::nullopt;
  if (!key || key->empty()) return {};
  const QString whole = QString::fromStdString(*key);
  return QString(std::max<qsizetype>(whole.size() - 4, 4), QChar(0x2022)) + whole.right(std::min<qsizetype>(4, whole.size() / 2));
}

QString StreamingBridge::save(const QVariantMap& draft, const QString& key) {
  StreamDestination d = fromMap(draft);
  if (d.serverURL.empty()) return {};
  if (d.name.empty()) d.name = std::string(displayName(d.platform));
  const bool known = std::any_of(destinations_.begin(), destinations_.end(), [&](const auto& e) { return e.id == d.id; });
  // The key first: a destination that appears is ready to go live.
  if (!key.trimmed().isEmpty()) model_.streamKeys.setKey(key.trimmed().toStdString(), d.id);
  if (known) {
    model_.streamStore.update(d);
  } else {
    model_.streamStore.add(d);
  }
  return qText(d.id.toString());
}

}  // namespace tavorin

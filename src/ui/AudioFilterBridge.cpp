#include "ui/AudioFilterBridge.h"

#include <cmath>

#include "app/AppModel.h"
#include "ui/QtText.h"
#include "audio/dsp/EQDSP.h"

namespace tavorin {

namespace {


std::optional<AudioFilterKind> kindNamed(const QString& name) { return enumFromName<AudioFilterKind>(name.toStdString()); }

}  // namespace

AudioFilterBridge::AudioFilterBridge(AppModel& model, QObject* parent) : QAbstractListModel(parent), model_(model) {
  subscriptions_.push_back(model.audioMixer.channelFilters.subscribe([this](const auto&) { reload(); }));
  subscriptions_.push_back(model.audioMixer.gainReduction.subscribe([this](const auto&) { Q_EMIT gainReductionChanged(); }));
  subscriptions_.push_back(model.audioMixer.channels.subscribe([this](const auto&) {
    // A channel that went away takes its editor with it.
    bool present = false;
    for (const ChannelInfo& c : model_.audioMixer.channels.get()) present = present || qText(c.id) == channel_;
    if (!present && !channel_.isEmpty()) setChannel({});
    Q_EMIT channelChanged();
  }));
}

void AudioFilterBridge::setChannel(const QString& channel) {
  if (channel == channel_) return;
  channel_ = channel;
  reload();
  Q_EMIT channelChanged();
}

QString AudioFilterBridge::channelName() const {
  for (const ChannelInfo& c : model_.audioMixer.channels.get()) {
    if (qText(c.id) == channel_) return qText(c.name);
  }
  return {};
}

void AudioFilterBridge::reload() {
  std::vector<AudioFilterConfig> now;
  const auto& all = model_.audioMixer.channelFilters.get();
  if (auto it = all.find(channel_.toStdString()); it != all.end()) now = it->second;
  // The same filters in the same order only change values: a slider being dragged keeps its place.
  const bool sameRows = now.size() == filters_.size() &&
                        std::equal(now.begin(), now.end(), filters_.begin(),
                                   [](const auto& a, const auto& b) { return a.id == b.id; });
  if (sameRows) {
    filters_ = std::move(now);
    if (!filters_.empty()) Q_EMIT dataChanged(index(0), index(rowCount() - 1), {enabledRole, paramsRole});
    return;
  }
  const bool countChanges = now.size() != filters_.size();
  beginResetModel();
  filters_ = std::move(now);
  endResetModel();
  if (countChanges) Q_EMIT countChanged();
}

int AudioFilterBridge::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(filters_.size());
}

QVariant AudioFilterBridge::data(const QModelIndex& index, int role) const {
  if (index.row() < 0 || index.row() >= rowCount()) return {};
  const AudioFilterConfig& f = filters_[static_cast<std::size_t>(index.row())];
  switch (role) {
    case idRole: return qText(f.id.toString());
    case kindRole: return qText(enumName(f.kind));
    case Qt::DisplayRole:
    case titleRole: return qText(filterTitle(f.kind));
    case enabledRole: return f.enabled;
    case paramsRole: {
      QVariantList params;
      const FilterParams values = effectiveParams(f);
      for (const FilterParam& p : paramTable(f.kind)) {
        const double value = values.at(p.key);
        params.push_back(QVariantMap{{"key", qText(p.key)},
                                     {"label", qText(p.label)},
                                     {"min", p.min},
                                     {"max", p.max},
                                     {"log", p.log},
                                     {"value", value},
                                     {"text", qText(tavorin::valueText(p, value))}});
      }
      return params;
    }
  }
  return {};
}

QHash<int, QByteArray> AudioFilterBridge::roleNames() const {
  return {{idRole, "filterID"}, {kindRole, "kind"}, {titleRole, "title"}, {enabledRole, "enabled"}, {paramsRole, "params"}};
}

QVariantMap AudioFilterBridge::gainReduction() const {
  QVariantMap map;
  const auto& all = model_.audioMixer.gainReduction.get();
  for (const AudioFilterConfig& f : filters_) {
    if (auto it = all.find(f.id.toString()); it != all.end()) map[qText(f.id.toString())] = it->second;
  }
  return map;
}

QVariantList AudioFilterBridge::eqCurve(const QString& filterID, int points) const {
  QVariantList curve;
  for (const AudioFilterConfig& f : filters_) {
    if (qText(f.id.toString()) != filterID || f.kind != AudioFilterKind::eq) continue;
    EQDSP eq;
    eq.prepare(kCommonSampleRate, 1);
    eq.update(effectiveParams(f));
    points = std::clamp(points, 2, 512);
    for (int i = 0; i < points; ++i) {
      const double hz = 20 * std::pow(1000.0, static_cast<double>(i) / (points - 1));
      curve.push_back(QVariantMap{{"hz", hz}, {"db", eq.responseDB(hz)}});
    }
  }
  return curve;
}

QVariantList AudioFilterBridge::kinds() const {
  QVariantList list;
  for (const auto& [kind, name] : EnumNames<AudioFilterKind>::table) {
    list.push_back(QVariantMap{{"kind", qText(name)}, {"title", qText(filterTitle(kind))}});
  }
  return list;
}

void AudioFilterBridge::add(const QString& kind) {
  if (const auto parsed = kindNamed(kind); parsed && !channel_.isEmpty()) {
    model_.audioMixer.addFilter(*parsed, channel_.toStdString());
  }
}

void AudioFilterBridge::remove(const QString& filterID) {
  if (const auto id = Uuid::parse(filterID.toStdString())) model_.audioMixer.removeFilter(*id, channel_.toStdString());
}

void AudioFilterBridge::move(int from, int to) {
  if (from < 0 || to < 0) return;
  model_.audioMixer.moveFilter(static_cast<std::size_t>(from), static_cast<std::size_t>(to), channel_.toStdString());
}

void AudioFilterBridge::setEnabled(const QString& filterID, bool on) {
  if (const auto id = Uuid::parse(filterID.toStdString())) {
    model_.audioMixer.setFilterEnabled(on, *id, channel_.toStdString());
  }
}

void AudioFilterBridge::setParam(const QString& filterID, const QString& key, double value) {
  if (const auto id = Uuid::parse(filterID.toStdString())) {
    model_.audioMixer.setFilterParam(key.toStdString(), value, *id, channel_.toStdString());
  }
}

QString AudioFilterBridge::valueText(const QString& kind, const QString& key, double value) const {
  const auto parsed = kindNamed(kind);
  if (!parsed) return {};
  for (const FilterParam& p : paramTable(*parsed)) {
    if (qText(p.key) == key) return qText(tavorin::valueText(p, value));
  }
  return {};
}

}  // namespace tavorin

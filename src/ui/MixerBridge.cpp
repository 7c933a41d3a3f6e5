#include "ui/MixerBridge.h"

#include <algorithm>
#include <cmath>

#include "app/AppModel.h"
#include "ui/QtText.h"

namespace tavorin {

MixerBridge::MixerBridge(AppModel& model, QObject* parent) : QAbstractListModel(parent), model_(model) {
  AudioMixerEngine& mixer = model.audioMixer;
  reload(mixer.channels.get());
  subscriptions_.push_back(mixer.channels.subscribe([this](const auto& channels) { reload(channels); }));
  auto refreshRows = [this](const auto&) {
    if (!channels_.empty()) Q_EMIT dataChanged(index(0), index(rowCount() - 1), {offlineRole, filterCountRole});
  };
  subscriptions_.push_back(mixer.offlineChannels.subscribe(refreshRows));
  subscriptions_.push_back(mixer.channelFilters.subscribe(refreshRows));
  subscriptions_.push_back(mixer.meters.subscribe([this](const auto&) {
    if (!channels_.empty()) Q_EMIT dataChanged(index(0), index(rowCount() - 1), {meterDBRole, peakDBRole});
    Q_EMIT metersChanged();
  }));
  auto master = [this](const auto&) { Q_EMIT masterChanged(); };
  subscriptions_.push_back(mixer.programMasterGain.subscribe(master));
  subscriptions_.push_back(mixer.programMuted.subscribe(master));
  subscriptions_.push_back(mixer.programOutput.subscribe(master));
  subscriptions_.push_back(mixer.programOutputOffline.subscribe(master));
  subscriptions_.push_back(mixer.monitors.subscribe([this](const auto&) { Q_EMIT monitorsChanged(); }));
  refreshDevices();
}

double MixerBridge::toDB(double gain) { return gain <= 0 ? kFloorDB : std::max(kFloorDB, 20 * std::log10(gain)); }

double MixerBridge::fromDB(double dB) { return dB <= kFloorDB ? 0.0 : std::pow(10.0, dB / 20); }

void MixerBridge::reload(const std::vector<ChannelInfo>& channels) {
  // The same strips in the same order only change their values: a fader being dragged keeps its place.
  const bool sameStrips = channels.size() == channels_.size() &&
                          std::equal(channels.begin(), channels.end(), channels_.begin(),
                                     [](const ChannelInfo& a, const ChannelInfo& b) { return a.id == b.id; });
  if (sameStrips) {
    channels_ = channels;
    if (!channels_.empty()) Q_EMIT dataChanged(index(0), index(rowCount() - 1));
    return;
  }
  const bool countChanges = channels.size() != channels_.size();
  beginResetModel();
  channels_ = channels;
  endResetModel();
  if (countChanges) Q_EMIT countChanged();
}

int MixerBridge::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(channels_.size());
}

int MixerBridge::rowOf(const QString& id) const {
  for (std::size_t i = 0; i < channels_.size(); ++i) {
    if (qText(channels_[i].id) == id) return static_cast<int>(i);
  }
  return -1;
}

QVariant MixerBridge::data(const QModelIndex& index, int role) const {
  if (index.row() < 0 || index.row() >= rowCount()) return {};
  const ChannelInfo& c = channels_[static_cast<std::size_t>(index.row())];
  const AudioMixerEngine& mixer = model_.audioMixer;
  auto meter = [&](const std::map<std::string, float>& values) {
    auto it = values.find(c.id);
    return it == values.end() ? kFloorDB : toDB(it->second);
  };
  switch (role) {
    case idRole: return qText(c.id);
    case Qt::DisplayRole:
    case nameRole: return qText(c.name);
    case levelDBRole: return toDB(c.level);
    case airRole: return c.air;
    case cueRole: return c.cue;
    case monitorRole: return c.monitor;
    case afvRole: return c.afv;
    case followsVideoRole: return c.videoSourceID.has_value();
    case removableRole: return c.removable;
    case offlineRole: return mixer.offlineChannels.get().contains(c.id);
    case meterDBRole: return meter(mixer.meters.get().inputs);
    case peakDBRole: return meter(mixer.meters.get().peaks);
    case filterCountRole: {
      const auto& filters = mixer.channelFilters.get();
      auto it = filters.find(c.id);
      return it == filters.end() ? 0 : static_cast<int>(it->second.size());
    }
  }
  return {};
}

QHash<int, QByteArray> MixerBridge::roleNames() const {
  return {{idRole, "channelID"},         {nameRole, "name"},          {levelDBRole, "levelDB"},
          {airRole, "air"},              {cueRole, "cue"},            {monitorRole, "monitor"},
          {afvRole, "afv"},              {followsVideoRole, "followsVideo"}, {removableRole, "removable"},
          {offlineRole, "offline"},      {meterDBRole, "meterDB"},    {peakDBRole, "peakDB"},
          {filterCountRole, "filterCount"}};
}

double MixerBridge::programMeterDB() const { return toDB(model_.audioMixer.meters.get().program); }
double MixerBridge::masterGainDB() const { return toDB(model_.audioMixer.programMasterGain.get()); }
bool MixerBridge::programMuted() const { return model_.audioMixer.programMuted.get(); }
bool MixerBridge::programOutputOffline() const { return model_.audioMixer.programOutputOffline.get(); }

QString MixerBridge::programOutput() const {
  const auto& device = model_.audioMixer.programOutput.get();
  return device ? qText(device->uid) : QString();
}

QVariantList MixerBridge::outputDevices() const { return devices_; }

QVariantMap MixerBridge::loudness() const {
  const LoudnessReading r = model_.audioMixer.loudness.get();
  auto figure = [](double v) { return std::isfinite(v) ? QVariant(v) : QVariant(); };
  return {{"momentary", figure(r.momentary)},
          {"shortTerm", figure(r.shortTerm)},
          {"integrated", figure(r.integrated)},
          {"range", figure(r.range)},
          {"truePeak", figure(r.truePeak)}};
}

void MixerBridge::resetLoudness() { model_.audioMixer.resetLoudness(); }

QVariantList MixerBridge::monitorBuses() const {
  QVariantList list;
  const auto& meters = model_.audioMixer.meters.get().monitors;
  for (const MonitorInfo& m : model_.audioMixer.monitors.get()) {
    auto meter = meters.find(m.id);
    list.push_back(QVariantMap{{"id", qText(m.id)},
                               {"name", qText(m.name)},
                               {"gainDB", toDB(m.gain)},
                               {"muted", m.muted},
                               {"device", qText(m.deviceUID.value_or(""))},
                               {"meterDB", meter == meters.end() ? kFloorDB : toDB(meter->second)},
                               {"removable", m.removable},
                               {"connected", m.connected}});
  }
  return list;
}

void MixerBridge::refreshDevices() {
  devices_.clear();
  for (const AudioOutputDevice& device : model_.audioOutputs()) {
    devices_.push_back(QVariantMap{{"uid", qText(device.uid)}, {"name", qText(device.name)}});
  }
  Q_EMIT devicesChanged();
}

void MixerBridge::setLevelDB(const QString& id, double dB) {
  model_.audioMixer.setLevel(id.toStdString(), static_cast<float>(std::min(fromDB(dB), 2.0)));
}
void MixerBridge::setAir(const QString& id, bool on) { model_.audioMixer.setAir(id.toStdString(), on); }
void MixerBridge::setCue(const QString& id, bool on) { model_.audioMixer.setCue(id.toStdString(), on); }
void MixerBridge::setMonitor(const QString& id, bool on) { model_.audioMixer.setMonitor(id.toStdString(), on); }
void MixerBridge::setFollowsVideo(const QString& id, bool on) { model_.audioMixer.setAFV(id.toStdString(), on); }

void MixerBridge::rename(const QString& id, const QString& name) {
  const QString trimmed = name.trimmed();
  if (!trimmed.isEmpty()) model_.audioMixer.renameChannel(id.toStdString(), trimmed.toStdString());
}

void MixerBridge::remove(const QString& id) {
  const int row = rowOf(id);
  if (row >= 0 && channels_[static_cast<std::size_t>(row)].removable) model_.audioMixer.removeChannel(id.toStdString());
}

void MixerBridge::move(int from, int to) {
  const int count = rowCount();
  if (from < 0 || from >= count || to < 0 || to >= count || from == to) return;
  // The engine puts a strip before another; past the last strip is before none.
  const std::size_t after = static_cast<std::size_t>(to > from ? to + 1 : to);
  const std::string before = after < channels_.size() ? channels_[after].id : std::string();
  model_.audioMixer.moveChannel(channels_[static_cast<std::size_t>(from)].id, before);
}

void MixerBridge::setMasterGainDB(double dB) {
  model_.audioMixer.setProgramMasterGain(static_cast<float>(std::min(fromDB(dB), 2.0)));
}
void MixerBridge::setProgramMuted(bool on) { model_.audioMixer.setProgramMuted(on); }

namespace {

std::optional<AudioOutputDevice> deviceOf(const AppModel& model, const QString& uid) {
  if (uid.isEmpty()) return std::nullopt;
  for (const AudioOutputDevice& device : model.audioOutputs()) {
    if (qText(device.uid) == uid) return device;
  }
  return std::nullopt;
}

}  // namespace

void MixerBridge::setProgramOutput(const QString& uid) {
  std::optional<AudioOutputDevice> device = deviceOf(model_, uid);
  if (!device) device = model_.defaultAudioOutput();
  model_.audioMixer.setProgramOutput(device);
}

QString MixerBridge::addMonitorBus(const QString& name) {
  const QString trimmed = name.trimmed();
  return qText(model_.audioMixer.addMonitor(trimmed.isEmpty() ? "Monitor" : trimmed.toStdString()));
}
void MixerBridge::removeMonitorBus(const QString& id) { model_.audioMixer.removeMonitor(id.toStdString()); }
void MixerBridge::renameMonitorBus(const QString& id, const QString& name) {
  const QString trimmed = name.trimmed();
  if (!trimmed.isEmpty()) model_.audioMixer.renameMonitor(id.toStdString(), trimmed.toStdString());
}
void MixerBridge::setMonitorBusDevice(const QString& id, const QString& uid) {
  model_.audioMixer.setMonitorDevice(id.toStdString(), deviceOf(model_, uid));
}
void MixerBridge::setMonitorBusGainDB(const QString& id, double dB) {
  model_.audioMixer.setMonitorGain(id.toStdString(), static_cast<float>(std::min(fromDB(dB), 2.0)));
}
void MixerBridge::setMonitorBusMuted(const QString& id, bool on) {
  model_.audioMixer.setMonitorMuted(id.toStdString(), on);
}

}  // namespace tavorin

#include "ui/AudioDevicesBridge.h"

#include <algorithm>

#include "app/AppModel.h"
#include "ui/QtText.h"

namespace tavorin {

AudioDevicesBridge::AudioDevicesBridge(AppModel& model, QObject* parent) : QObject(parent), model_(model) {
  AudioDevices& devices = model.audioDevices;
  auto changedNow = [this](const auto&) { Q_EMIT changed(); };
  subscriptions_.push_back(devices.inputs.subscribe(changedNow));
  subscriptions_.push_back(devices.applications.subscribe(changedNow));
  subscriptions_.push_back(devices.excludedApps.subscribe(changedNow));
  subscriptions_.push_back(devices.driverInstalled.subscribe(changedNow));
  subscriptions_.push_back(devices.machineAudioRouted.subscribe(changedNow));
  subscriptions_.push_back(model.audioMixer.channels.subscribe(changedNow));
}

bool AudioDevicesBridge::hasChannel(const std::string& id) const {
  const auto& channels = model_.audioMixer.channels.get();
  return std::any_of(channels.begin(), channels.end(), [&](const ChannelInfo& c) { return c.id == id; });
}

QVariantList AudioDevicesBridge::inputs() const {
  QVariantList list;
  for (const AudioInputDevice& device : model_.audioDevices.inputs.get()) {
    list.push_back(
        QVariantMap{{"id", qText(device.id)}, {"name", qText(device.name)}, {"added", hasChannel(device.id)}});
  }
  return list;
}

QVariantList AudioDevicesBridge::applications() const {
  const auto& excluded = model_.audioDevices.excludedApps.get();
  QVariantList list;
  for (const AudioApplication& app : model_.audioDevices.applications.get()) {
    list.push_back(QVariantMap{{"id", qText(app.id)},
                               {"name", qText(app.name)},
                               {"added", hasChannel(AudioDevices::kAppChannelPrefix + app.id)},
                               {"excluded", std::find(excluded.begin(), excluded.end(), app.id) != excluded.end()}});
  }
  return list;
}

QVariantList AudioDevicesBridge::excludedApps() const {
  const auto& playing = model_.audioDevices.applications.get();
  QVariantList list;
  for (const std::string& id : model_.audioDevices.excludedApps.get()) {
    auto app = std::find_if(playing.begin(), playing.end(), [&](const AudioApplication& a) { return a.id == id; });
    list.push_back(QVariantMap{{"id", qText(id)}, {"name", qText(app == playing.end() ? id : app->name)}});
  }
  return list;
}

bool AudioDevicesBridge::systemAudioAdded() const { return hasChannel(AudioDevices::kSystemChannelID); }
bool AudioDevicesBridge::driverInstalled() const { return model_.audioDevices.driverInstalled.get(); }
bool AudioDevicesBridge::machineAudioRouted() const { return model_.audioDevices.machineAudioRouted.get(); }

void AudioDevicesBridge::refresh() { model_.audioDevices.refresh(); }

void AudioDevicesBridge::addInput(const QString& id) {
  for (const AudioInputDevice& device : model_.audioDevices.inputs.get()) {
    if (qText(device.id) == id) model_.audioMixer.addDeviceChannel(device);
  }
}

void AudioDevicesBridge::addSystemAudio() { model_.audioDevices.addSystemAudio(); }
void AudioDevicesBridge::addApplication(const QString& appID) {
  model_.audioDevices.addApplicationAudio(appID.toStdString());
}
void AudioDevicesBridge::installDrivers() { model_.audioDevices.installDrivers(); }
void AudioDevicesBridge::uninstallDrivers() { model_.audioDevices.uninstallDrivers(); }
void AudioDevicesBridge::routeMachineAudioToMixer() { model_.audioDevices.routeMachineAudioToMixer(); }
void AudioDevicesBridge::restoreMachineAudio() { model_.audioDevices.restoreMachineAudio(); }

void AudioDevicesBridge::setExcluded(const QString& appID, bool excluded) {
  std::vector<std::string> apps = model_.audioDevices.excludedApps.get();
  const std::string id = appID.toStdString();
  std::erase(apps, id);
  if (excluded) apps.push_back(id);
  model_.audioDevices.setExcludedApps(std::move(apps));
}

}  // namespace tavorin

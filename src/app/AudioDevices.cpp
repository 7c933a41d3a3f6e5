#include "app/AudioDevices.h"

#include <algorithm>

#include "stores/PreferenceKeys.h"

namespace tavorin {

AudioDevices::AudioDevices(MainQueue& queue, AudioBackend* backend, AudioMixerEngine& mixer, Preferences& preferences,
                           std::function<void(const std::string&)> log)
    : excludedApps(preferences.getStringList(prefkey::sysAudioExcludedApps).value_or(std::vector<std::string>{})),
      queue_(queue),
      backend_(backend),
      mixer_(mixer),
      preferences_(preferences),
      log_(std::move(log)) {
  refresh();
}

void AudioDevices::refresh() {
  if (!backend_) return;
  if (auto list = backend_->outputDevices(); list != outputs.get()) outputs = std::move(list);
  if (auto list = backend_->inputDevices(); list != inputs.get()) inputs = std::move(list);
  if (auto list = backend_->audioApplications(); list != applications.get()) applications = std::move(list);
  driverInstalled = backend_->virtualDevicesPresent();
  machineAudioRouted = backend_->defaultOutputUID() == std::optional<std::string>(kVirtualSystemUID);
}

void AudioDevices::installDrivers() {
  changeDrivers("install", [this](std::string* error) { return backend_->installVirtualDevices(error); });
}

void AudioDevices::uninstallDrivers() {
  changeDrivers("uninstall", [this](std::string* error) { return backend_->uninstallVirtualDevices(error); });
}

void AudioDevices::changeDrivers(const std::string& verb, const std::function<bool(std::string*)>& change) {
  std::string error = "there is no audio service";
  if (!backend_ || !change(&error)) {
    log("Audio driver " + verb + " failed: " + error);
    refresh();
    return;
  }
  log("Tavorin Audio " + verb + " complete.");
  refresh();
  mixer_.refreshMicFeed();
  // The session manager may settle the nodes a moment later.
  lateRefresh_ = queue_.after(2.0, [this] { refresh(); });
}

void AudioDevices::routeMachineAudioToMixer() {
  const auto device = backend_ ? backend_->outputWithUID(kVirtualSystemUID) : std::nullopt;
  if (!device) {
    log("“Tavorin System” device not found — click Install / Update Audio Drivers on the Status tab first.");
    return;
  }
  // Routing twice must not lose the real device.
  if (const auto current = backend_->defaultOutputUID(); current && *current != kVirtualSystemUID) {
    preferences_.setString(prefkey::prevDefaultOutputUID, *current);
  }
  if (!backend_->setDefaultOutput(kVirtualSystemUID, nullptr)) {
    log("Couldn't set the system default output.");
    return;
  }
  refresh();
  for (const AudioInputDevice& input : inputs.get()) {
    if (input.id == kVirtualSystemUID) mixer_.addDeviceChannel(input);
  }
  machineAudioRouted = true;
  log("Computer audio now routes into the mixer (default output → Tavorin System).");
}

void AudioDevices::restoreMachineAudio() {
  const auto uid = preferences_.getString(prefkey::prevDefaultOutputUID);
  const auto device = uid && backend_ ? backend_->outputWithUID(*uid) : std::nullopt;
  if (!device) {
    log("Previous output device not available — pick one in your desktop's Sound settings.");
    return;
  }
  if (!backend_->setDefaultOutput(device->uid, nullptr)) {
    log("Couldn't set the system default output.");
    return;
  }
  machineAudioRouted = false;
  log("Default output restored to " + device->name);
}

std::string AudioDevices::applicationName(const std::string& appID) const {
  for (const AudioApplication& app : applications.get()) {
    if (app.id == appID) return app.name;
  }
  return appID;
}

bool AudioDevices::addSystemAudio() {
  if (!backend_) {
    log("System audio needs PipeWire.");
    return false;
  }
  return mixer_.addSystemChannel(kSystemChannelID, "System Audio", ApplicationAudioFilter{.excludedApps = excludedApps.get()});
}

bool AudioDevices::addApplicationAudio(const std::string& appID) {
  if (!backend_) {
    log("System audio needs PipeWire.");
    return false;
  }
  if (appID.empty()) return false;
  return mixer_.addSystemChannel(kAppChannelPrefix + appID, applicationName(appID), ApplicationAudioFilter{.onlyApp = appID});
}

void AudioDevices::restoreApplicationChannels(const std::vector<std::string>& savedIDs) {
  for (const std::string& id : savedIDs) {
    if (mixer_.processor(id)) continue;
    if (id == kSystemChannelID) {
      addSystemAudio();
    } else if (id.starts_with(kAppChannelPrefix)) {
      addApplicationAudio(id.substr(std::string_view(kAppChannelPrefix).size()));
    }
  }
}

void AudioDevices::setExcludedApps(std::vector<std::string> apps) {
  std::erase_if(apps, [](const std::string& id) { return id.empty(); });
  std::sort(apps.begin(), apps.end());
  apps.erase(std::unique(apps.begin(), apps.end()), apps.end());
  preferences_.setStringList(prefkey::sysAudioExcludedApps, apps);
  excludedApps = apps;
  mixer_.setSystemChannelFilter(kSystemChannelID, ApplicationAudioFilter{.excludedApps = std::move(apps)});
}

}  // namespace tavorin

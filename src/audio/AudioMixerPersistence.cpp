// What the mixer keeps between runs: routing per channel, the channel order,
// the filters, the monitor buses and the recording selection. The mixer
// starts from its settings record and reports each change of it upward.
#include "audio/AudioMixerEngine.h"

namespace tavorin {

void AudioMixerEngine::reportSettings() {
  if (onSettingsChanged) onSettingsChanged(settings_);
}

std::optional<ChannelRouting> AudioMixerEngine::savedRouting(const std::string& id) const {
  auto it = settings_.routing.find(id);
  if (it == settings_.routing.end()) return std::nullopt;
  return it->second;
}

void AudioMixerEngine::saveRouting() {
  settings_.routing.clear();
  for (const ChannelInfo& c : channels.get()) {
    settings_.routing[c.id] = ChannelRouting{c.level, c.air, c.cue, c.monitor, c.afv, c.name};
  }
  reportSettings();
}

void AudioMixerEngine::changeFilters(const std::string& channel,
                                     const std::function<void(std::vector<AudioFilterConfig>&)>& fn) {
  auto processor = this->processor(channel);
  if (!processor) return;
  channelFilters.modify([&](auto& map) { fn(map[channel]); });
  processor->filterChain.apply(channelFilters->at(channel));
  settings_.channelFilters = channelFilters.get();
  reportSettings();
}

void AudioMixerEngine::loadMonitors() {
  monitorBuses_.clear();
  for (const MonitorSettings& stored : settings_.monitors) {
    MonitorBus bus;
    bus.id = stored.id;
    bus.name = stored.name;
    bus.gain = stored.gain;
    bus.muted = stored.muted;
    bus.savedUID = stored.deviceUID;
    monitorBuses_.push_back(std::move(bus));
  }
  if (monitorBuses_.empty()) {
    MonitorBus bus;
    bus.id = kHeadphonesID;
    bus.name = "Headphones";
    bus.savedUID = settings_.previewOutputUID;
    bus.gain = settings_.cueMasterGain;
    monitorBuses_.push_back(std::move(bus));
  }
  publishMonitors();
}

void AudioMixerEngine::saveMonitors() {
  settings_.monitors.clear();
  for (const MonitorBus& bus : monitorBuses_) {
    const auto uid = bus.device ? std::optional<std::string>(bus.device->uid) : bus.savedUID;
    settings_.monitors.push_back(MonitorSettings{bus.id, bus.name, bus.gain, bus.muted, uid});
  }
  reportSettings();
}

}  // namespace tavorin

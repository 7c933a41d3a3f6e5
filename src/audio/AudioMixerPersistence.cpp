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

void AudioMixerEngine::monitorsChanged(bool keep) {
  monitors = monitorBuses_.infos();
  if (!keep) return;
  settings_.monitors = monitorBuses_.settings();
  reportSettings();
}

}  // namespace tavorin

#include "stores/MixerSettingsStore.h"

#include "model/AudioFilterConfigJson.h"
#include "model/MixerSettingsJson.h"
#include "stores/PreferenceKeys.h"
#include "stores/Preferences.h"

namespace tavorin {

MixerSettings MixerSettingsStore::load() {
  MixerSettings s;
  auto json = [this](std::string_view key) { return preferences_.getJSON(key).value_or(nullptr); };
  s.routing = decodeRouting(json(prefkey::channelRouting)).value_or(decltype(s.routing){});
  s.channelOrder = preferences_.getStringList(prefkey::channelOrder).value_or(std::vector<std::string>{});
  s.channelFilters = decodeChannelFilters(json(prefkey::channelFilters)).value_or(decltype(s.channelFilters){});
  s.monitors = decodeMonitors(json(prefkey::monitorOutputs)).value_or(decltype(s.monitors){});
  s.previewOutputUID = preferences_.getString(prefkey::previewOutputUID);
  s.cueMasterGain = static_cast<float>(preferences_.getDouble(prefkey::cueMasterGain).value_or(1.0));
  s.programMasterGain = static_cast<float>(preferences_.getDouble(prefkey::progMasterGain).value_or(1.0));
  s.recordAllAudio = preferences_.getBool(prefkey::recordAllAudio).value_or(false);
  const auto recordIDs = preferences_.getStringList(prefkey::recordAudioIDs).value_or(std::vector<std::string>{});
  s.recordAudioIDs = std::set<std::string>(recordIDs.begin(), recordIDs.end());
  last_ = s;
  return s;
}

void MixerSettingsStore::save(const MixerSettings& s) {
  if (s.routing != last_.routing) preferences_.setJSON(prefkey::channelRouting, encodeRouting(s.routing));
  if (s.channelOrder != last_.channelOrder) preferences_.setStringList(prefkey::channelOrder, s.channelOrder);
  if (s.channelFilters != last_.channelFilters) {
    preferences_.setJSON(prefkey::channelFilters, Json(s.channelFilters));
  }
  if (s.monitors != last_.monitors) preferences_.setJSON(prefkey::monitorOutputs, encodeMonitors(s.monitors));
  if (s.programMasterGain != last_.programMasterGain) preferences_.setDouble(prefkey::progMasterGain, s.programMasterGain);
  if (s.recordAllAudio != last_.recordAllAudio) preferences_.setBool(prefkey::recordAllAudio, s.recordAllAudio);
  if (s.recordAudioIDs != last_.recordAudioIDs) {
    preferences_.setStringList(prefkey::recordAudioIDs,
                               std::vector<std::string>(s.recordAudioIDs.begin(), s.recordAudioIDs.end()));
  }
  last_ = s;
}

}  // namespace tavorin

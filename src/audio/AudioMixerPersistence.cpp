// What the mixer keeps in the preferences: routing per channel, the channel
// order, the monitor buses and the recording selection. Each key is read on
// its own; a value that does not decode reads as absent.
#include <nlohmann/json.hpp>

#include "audio/AudioMixerEngine.h"
#include "audio/dsp/AudioFilterConfigJson.h"
#include "core/stores/PreferenceKeys.h"
#include "core/stores/Preferences.h"

namespace tavorin {

namespace {

using nlohmann::json;

// Every key but "monitor" (older data has none) and "name" is required.
std::optional<float> number(const json& j, const char* key) {
  auto it = j.find(key);
  if (it == j.end() || !it->is_number()) return std::nullopt;
  return it->get<float>();
}
std::optional<bool> flag(const json& j, const char* key) {
  auto it = j.find(key);
  if (it == j.end() || !it->is_boolean()) return std::nullopt;
  return it->get<bool>();
}

}  // namespace

std::optional<AudioMixerEngine::Routing> AudioMixerEngine::savedRouting(const std::string& id) const {
  const auto table = preferences_.getJSON(prefkey::channelRouting);
  if (!table || !table->is_object()) return std::nullopt;
  // One undecodable entry makes the whole table read as empty.
  for (const auto& [key, entry] : table->items()) {
    if (!entry.is_object() || !number(entry, "level") || !flag(entry, "air") || !flag(entry, "cue") ||
        !flag(entry, "afv")) {
      return std::nullopt;
    }
    if (entry.contains("monitor") && !flag(entry, "monitor")) return std::nullopt;
    if (entry.contains("name") && !entry["name"].is_string()) return std::nullopt;
  }
  auto it = table->find(id);
  if (it == table->end()) return std::nullopt;
  Routing routing;
  routing.level = *number(*it, "level");
  routing.air = *flag(*it, "air");
  routing.monitor = flag(*it, "monitor").value_or(true);
  routing.afv = *flag(*it, "afv");
  if (it->contains("name")) routing.name = (*it)["name"].get<std::string>();
  return routing;
}

void AudioMixerEngine::saveRouting() {
  json table = json::object();
  for (const ChannelInfo& c : channels.get()) {
    table[c.id] = json{{"level", c.level}, {"air", c.air}, {"cue", c.cue},
                       {"monitor", c.monitor}, {"afv", c.afv}, {"name", c.name}};
  }
  preferences_.setJSON(prefkey::channelRouting, std::move(table));
}

void AudioMixerEngine::saveChannelOrder() { preferences_.setStringList(prefkey::channelOrder, channelOrder_); }

void AudioMixerEngine::loadFilters() {
  std::map<std::string, std::vector<AudioFilterConfig>> filters;
  if (auto stored = preferences_.getJSON(prefkey::channelFilters)) {
    try {
      filters = stored->get<std::map<std::string, std::vector<AudioFilterConfig>>>();
    } catch (const std::exception&) {
      filters.clear();  // an undecodable value reads as absent
    }
  }
  channelFilters = std::move(filters);
}

void AudioMixerEngine::changeFilters(const std::string& channel,
                                     const std::function<void(std::vector<AudioFilterConfig>&)>& fn) {
  auto processor = this->processor(channel);
  if (!processor) return;
  channelFilters.modify([&](auto& map) { fn(map[channel]); });
  processor->filterChain.apply(channelFilters->at(channel));
  preferences_.setJSON(prefkey::channelFilters, json(channelFilters.get()));
}

void AudioMixerEngine::loadMonitors() {
  monitorBuses_.clear();
  if (auto stored = preferences_.getJSON(prefkey::monitorOutputs); stored && stored->is_array()) {
    std::vector<MonitorBus> buses;
    bool good = true;
    for (const auto& entry : *stored) {
      if (!entry.is_object() || !entry.contains("id") || !entry["id"].is_string() || !entry.contains("name") ||
          !entry["name"].is_string() || !number(entry, "gain") || !flag(entry, "muted")) {
        good = false;
        break;
      }
      MonitorBus bus;
      bus.id = entry["id"].get<std::string>();
      bus.name = entry["name"].get<std::string>();
      bus.gain = *number(entry, "gain");
      bus.muted = *flag(entry, "muted");
      if (entry.contains("deviceUID") && entry["deviceUID"].is_string()) bus.savedUID = entry["deviceUID"].get<std::string>();
      buses.push_back(std::move(bus));
    }
    if (good) monitorBuses_ = std::move(buses);
  }
  if (monitorBuses_.empty()) {
    MonitorBus bus;
    bus.id = kHeadphonesID;
    bus.name = "Headphones";
    bus.savedUID = preferences_.getString(prefkey::previewOutputUID);
    bus.gain = static_cast<float>(preferences_.getDouble(prefkey::cueMasterGain).value_or(1.0));
    monitorBuses_.push_back(std::move(bus));
  }
  publishMonitors();
}

void AudioMixerEngine::saveMonitors() {
  json list = json::array();
  for (const MonitorBus& bus : monitorBuses_) {
    json entry{{"id", bus.id}, {"name", bus.name}, {"gain", bus.gain}, {"muted", bus.muted}};
    const auto uid = bus.device ? std::optional<std::string>(bus.device->uid) : bus.savedUID;
    if (uid) entry["deviceUID"] = *uid;
    list.push_back(std::move(entry));
  }
  preferences_.setJSON(prefkey::monitorOutputs, std::move(list));
}

}  // namespace tavorin

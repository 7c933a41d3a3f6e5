#include "model/MixerSettingsJson.h"

#include "model/AudioFilterConfigJson.h"

namespace tavorin {

namespace {

using json = Json;

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

std::optional<std::string> text(const json& j, const char* key) {
  auto it = j.find(key);
  if (it == j.end() || !it->is_string()) return std::nullopt;
  return it->get<std::string>();
}

}  // namespace

json encodeRouting(const std::map<std::string, ChannelRouting>& routing) {
  json table = json::object();
  for (const auto& [id, r] : routing) {
    json entry{{"level", r.level}, {"air", r.air}, {"cue", r.cue}, {"monitor", r.monitor}, {"afv", r.afv}};
    if (r.name) entry["name"] = *r.name;
    table[id] = std::move(entry);
  }
  return table;
}

std::optional<std::map<std::string, ChannelRouting>> decodeRouting(const json& j) {
  if (!j.is_object()) return std::nullopt;
  std::map<std::string, ChannelRouting> routing;
  for (const auto& [id, entry] : j.items()) {
    if (!entry.is_object()) return std::nullopt;
    const auto level = number(entry, "level");
    const auto air = flag(entry, "air"), cue = flag(entry, "cue"), afv = flag(entry, "afv");
    if (!level || !air || !cue || !afv) return std::nullopt;
    const auto monitor = flag(entry, "monitor");
    if (entry.contains("monitor") && !monitor) return std::nullopt;
    const auto name = text(entry, "name");
    if (entry.contains("name") && !name) return std::nullopt;
    routing[id] = ChannelRouting{*level, *air, *cue, monitor.value_or(true), *afv, name};
  }
  return routing;
}

json encodeMonitors(const std::vector<MonitorSettings>& monitors) {
  json list = json::array();
  for (const MonitorSettings& m : monitors) {
    json entry{{"id", m.id}, {"name", m.name}, {"gain", m.gain}, {"muted", m.muted}};
    if (m.deviceUID) entry["deviceUID"] = *m.deviceUID;
    list.push_back(std::move(entry));
  }
  return list;
}

std::optional<std::vector<MonitorSettings>> decodeMonitors(const json& j) {
  if (!j.is_array()) return std::nullopt;
  std::vector<MonitorSettings> monitors;
  for (const auto& entry : j) {
    if (!entry.is_object()) return std::nullopt;
    auto id = text(entry, "id"), name = text(entry, "name");
    const auto gain = number(entry, "gain");
    const auto muted = flag(entry, "muted");
    if (!id || !name || !gain || !muted) return std::nullopt;
    monitors.push_back(MonitorSettings{std::move(*id), std::move(*name), *gain, *muted, text(entry, "deviceUID")});
  }
  return monitors;
}

std::optional<std::map<std::string, std::vector<AudioFilterConfig>>> decodeChannelFilters(const json& j) {
  try {
    return j.get<std::map<std::string, std::vector<AudioFilterConfig>>>();
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

}  // namespace tavorin

#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "model/Json.h"
#include "model/MixerSettings.h"

// JSON coding of the mixer's stored tables. Each reader is all or nothing:
// one entry that does not decode makes the whole value read as absent.
namespace tavorin {

// {channel id: {"level", "air", "cue", "monitor", "afv", "name"}}; "monitor"
// (absent in older data) and "name" may be missing.
Json encodeRouting(const std::map<std::string, ChannelRouting>& routing);
std::optional<std::map<std::string, ChannelRouting>> decodeRouting(const Json& j);

// [{"id", "name", "gain", "muted", "deviceUID"}]; "deviceUID" may be missing.
Json encodeMonitors(const std::vector<MonitorSettings>& monitors);
std::optional<std::vector<MonitorSettings>> decodeMonitors(const Json& j);

// {channel id: [filter stage]}.
std::optional<std::map<std::string, std::vector<AudioFilterConfig>>> decodeChannelFilters(const Json& j);

}  // namespace tavorin

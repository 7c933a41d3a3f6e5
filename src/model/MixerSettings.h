#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "model/AudioFilterConfig.h"

namespace tavorin {

// The stored routing of one channel. Its cue is written but never restored:
// a solo never survives a restart.
struct ChannelRouting {
  float level = 1.0f;
  bool air = true;
  bool cue = false;
  bool monitor = true;
  bool afv = false;
  std::optional<std::string> name;
  friend bool operator==(const ChannelRouting&, const ChannelRouting&) = default;
};

// A monitor bus as it is kept between runs.
struct MonitorSettings {
  std::string id;
  std::string name;
  float gain = 1.0f;
  bool muted = false;
  std::optional<std::string> deviceUID;  // the chosen device, kept while it is away
  friend bool operator==(const MonitorSettings&, const MonitorSettings&) = default;
};

// What the mixer keeps between runs. The mixer starts from one and reports
// each change upward; where it is kept is its owner's business.
struct MixerSettings {
  std::map<std::string, ChannelRouting> routing;
  std::vector<std::string> channelOrder;
  std::map<std::string, std::vector<AudioFilterConfig>> channelFilters;
  // Empty: one headphones bus on the single monitor output of older versions.
  std::vector<MonitorSettings> monitors;
  std::optional<std::string> previewOutputUID;
  float cueMasterGain = 1.0f;
  float programMasterGain = 1.0f;
  bool recordAllAudio = false;
  std::set<std::string> recordAudioIDs;
  friend bool operator==(const MixerSettings&, const MixerSettings&) = default;
};

}  // namespace tavorin

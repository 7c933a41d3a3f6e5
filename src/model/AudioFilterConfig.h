#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/EnumNames.h"
#include "base/Uuid.h"

namespace tavorin {

enum class AudioFilterKind { eq, compressor, limiter, gate, noiseReduction };

template <>
struct EnumNames<AudioFilterKind> {
  using K = AudioFilterKind;
  static constexpr std::pair<K, std::string_view> table[] = {
      {K::eq, "eq"},
      {K::compressor, "compressor"},
      {K::limiter, "limiter"},
      {K::gate, "gate"},
      {K::noiseReduction, "noiseReduction"},
  };
};

// The kind's name in the filter editor ("Noise gate").
std::string_view filterTitle(AudioFilterKind kind);

// One row of a kind's parameter table. `log` asks a slider for a logarithmic scale.
struct FilterParam {
  std::string key;
  std::string label;
  double min = 0;
  double max = 1;
  double def = 0;
  std::string unit;
  bool log = false;

  friend bool operator==(const FilterParam&, const FilterParam&) = default;
};

// One stage of a channel's filter chain as stored. `params` may hold only some
// of the kind's keys; keys the kind does not know are carried but ignored.
struct AudioFilterConfig {
  Uuid id = Uuid::make();
  AudioFilterKind kind = AudioFilterKind::eq;
  bool enabled = true;
  std::map<std::string, double> params;

  // A fresh id, enabled, every parameter at its default.
  static AudioFilterConfig make(AudioFilterKind kind);

  friend bool operator==(const AudioFilterConfig&, const AudioFilterConfig&) = default;
};

using FilterParams = std::map<std::string, double>;

// The kind's parameters in display order.
const std::vector<FilterParam>& paramTable(AudioFilterKind kind);

FilterParams defaultParams(AudioFilterKind kind);
// The kind's defaults overlaid with the config's own values.
FilterParams effectiveParams(const AudioFilterConfig& config);

// The value as the filter editor shows it ("off", "120 Hz", "-18 dB", "+3.0 dB", "4.0:1", "70%").
std::string valueText(const FilterParam& param, double value);

}  // namespace tavorin

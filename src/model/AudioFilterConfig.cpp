#include "model/AudioFilterConfig.h"

#include <cstdio>

namespace tavorin {

namespace {

using K = AudioFilterKind;

const std::vector<FilterParam> kEqParams = {
    {"hpfHz", "High-pass", 20, 400, 20, "Hz", true},
    {"lowGain", "Low", -12, 12, 0, "dB", false},
    {"midHz", "Mid freq", 200, 6000, 1000, "Hz", true},
    {"midGain", "Mid", -12, 12, 0, "dB", false},
    {"midQ", "Mid width", 0.3, 3, 1, "", false},
    {"highGain", "High", -12, 12, 0, "dB", false},
};
const std::vector<FilterParam> kCompressorParams = {
    {"threshold", "Threshold", -60, 0, -18, "dB", false},
    {"ratio", "Ratio", 1, 20, 3, "x", false},
    {"attackMs", "Attack", 0.1, 100, 10, "ms", true},
    {"releaseMs", "Release", 10, 1000, 120, "ms", true},
    {"makeupDb", "Make-up gain", 0, 24, 0, "dB", false},
};
const std::vector<FilterParam> kLimiterParams = {
    {"ceilingDb", "Ceiling", -24, 0, -1, "dB", false},
    {"releaseMs", "Release", 10, 500, 80, "ms", true},
};
const std::vector<FilterParam> kGateParams = {
    {"threshold", "Threshold", -80, 0, -45, "dB", false},
    {"rangeDb", "Range", 0, 80, 60, "dB", false},
    {"attackMs", "Attack", 0.1, 50, 2, "ms", true},
    {"holdMs", "Hold", 0, 500, 80, "ms", false},
    {"releaseMs", "Release", 10, 1000, 150, "ms", true},
};
const std::vector<FilterParam> kNoiseReductionParams = {
    {"strength", "Strength", 0, 1, 0.7, "%", false},
    {"smoothing", "Smoothing", 0, 1, 0.5, "%", false},
};

std::string format(const char* pattern, double value) {
  char text[64];
  std::snprintf(text, sizeof text, pattern, value);
  return text;
}

// Whole numbers in the editor are truncated, not rounded.
std::string integerText(double value) { return std::to_string(static_cast<long long>(value)); }

}  // namespace

std::string_view filterTitle(AudioFilterKind kind) {
  switch (kind) {
    case K::eq: return "Equaliser";
    case K::compressor: return "Compressor";
    case K::limiter: return "Limiter";
    case K::gate: return "Noise gate";
    case K::noiseReduction: return "Noise reduction";
  }
  return {};
}

const std::vector<FilterParam>& paramTable(AudioFilterKind kind) {
  switch (kind) {
    case K::eq: return kEqParams;
    case K::compressor: return kCompressorParams;
    case K::limiter: return kLimiterParams;
    case K::gate: return kGateParams;
    case K::noiseReduction: return kNoiseReductionParams;
  }
  static const std::vector<FilterParam> none;
  return none;
}

FilterParams defaultParams(AudioFilterKind kind) {
  FilterParams params;
  for (const FilterParam& p : paramTable(kind)) params[p.key] = p.def;
  return params;
}

FilterParams effectiveParams(const AudioFilterConfig& config) {
  FilterParams params = defaultParams(config.kind);
  for (const auto& [key, value] : config.params) params[key] = value;
  return params;
}

AudioFilterConfig AudioFilterConfig::make(AudioFilterKind kind) {
  AudioFilterConfig config;
  config.kind = kind;
  config.params = defaultParams(kind);
  return config;
}

std::string valueText(const FilterParam& param, double value) {
  if (param.unit == "Hz") {
    if (param.key == "hpfHz" && value <= param.min + 0.5) return "off";
    return integerText(value) + " Hz";
  }
  if (param.unit == "dB") return format(param.key == "threshold" ? "%.0f dB" : "%+.1f dB", value);
  if (param.unit == "ms") return value < 10 ? format("%.1f ms", value) : integerText(value) + " ms";
  if (param.unit == "x") return format("%.1f:1", value);
  if (param.unit == "%") return integerText(value * 100) + "%";
  return format("%.2f", value);
}

}  // namespace tavorin

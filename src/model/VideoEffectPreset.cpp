#include "model/VideoEffectPreset.h"

#include <initializer_list>
#include <utility>

#include "model/JsonDecoding.h"
#include "model/SceneJson.h"
#include "model/VideoFilterDefaults.h"

namespace tavorin {

using namespace json_decoding;

void to_json(Json& j, const VideoEffectPreset& v) {
  j = Json{{"id", v.id}, {"name", v.name}, {"symbol", v.symbol}, {"filters", v.filters}};
}

void from_json(const Json& j, VideoEffectPreset& v) {
  expectObject(j, "look");
  requiredKey(j, "id", v.id);
  requiredKey(j, "name", v.name);
  requiredKey(j, "symbol", v.symbol);
  requiredKey(j, "filters", v.filters);
}

namespace {

using K = VideoFilterKind;
using Params = std::initializer_list<std::pair<const char*, double>>;

VideoFilterConfig entry(K kind, Params params = {}) {
  VideoFilterConfig config;
  config.kind = kind;
  config.params = defaultVideoFilterParams(kind);
  for (const auto& [key, value] : params) config.params[key] = value;
  return config;
}

VideoEffectPreset look(const char* name, const char* symbol, std::vector<VideoFilterConfig> filters) {
  VideoEffectPreset preset;
  preset.name = name;
  preset.symbol = symbol;
  preset.filters = std::move(filters);
  return preset;
}

}  // namespace

std::vector<VideoEffectPreset> builtInLooks() {
  return {
      look("Ghost", "aqi.low",
           {entry(K::bw), entry(K::bloom, {{"radius", 22}, {"intensity", 1.3}}),
            entry(K::colorControls, {{"brightness", 0.18}, {"contrast", 0.85}, {"saturation", 1}})}),
      look("80s TV", "tv",
           {entry(K::chromaShift, {{"amount", 4}}), entry(K::scanlines, {{"intensity", 0.35}, {"lineSize", 2}}),
            entry(K::colorControls, {{"contrast", 1.1}, {"saturation", 1.4}, {"brightness", 0}}),
            entry(K::gaussianBlur, {{"radius", 1.5}})}),
      look("VHS", "recordingtape",
           {entry(K::vhs, {{"amount", 0.6}}),
            entry(K::colorControls, {{"contrast", 1.05}, {"saturation", 1.18}, {"brightness", 0.02}})}),
      look("Glitch", "waveform.path",
           {entry(K::vhs, {{"amount", 0.95}}), entry(K::chromaShift, {{"amount", 6}}),
            entry(K::posterize, {{"levels", 10}})}),
      look("Camcorder", "video.fill",
           {entry(K::vhs, {{"amount", 0.3}}), entry(K::temperature, {{"temp", 7800}, {"tint", 8}}),
            entry(K::vignette, {{"intensity", 0.7}, {"radius", 1.2}})}),
      look("Retro Game", "gamecontroller",
           {entry(K::pixellate, {{"scale", 6}}), entry(K::posterize, {{"levels", 6}}),
            entry(K::colorControls, {{"saturation", 1.4}, {"contrast", 1.1}, {"brightness", 0}})}),
      look("Noir", "theatermasks",
           {entry(K::bw), entry(K::colorControls, {{"contrast", 1.4}, {"brightness", -0.02}, {"saturation", 1}}),
            entry(K::vignette, {{"intensity", 1.4}, {"radius", 1.2}})}),
      look("Nostalgic", "photo",
           {entry(K::sepia, {{"intensity", 0.5}}),
            entry(K::colorControls, {{"contrast", 0.9}, {"saturation", 0.7}, {"brightness", 0.02}}),
            entry(K::vignette, {{"intensity", 0.8}, {"radius", 1.3}})}),
      look("Vintage", "camera",
           {entry(K::sepia, {{"intensity", 0.7}}), entry(K::vignette, {{"intensity", 1.0}, {"radius", 1.2}}),
            entry(K::posterize, {{"levels", 12}})}),
      look("Polarized", "sun.haze",
           {entry(K::colorControls, {{"contrast", 1.2}, {"saturation", 1.4}, {"brightness", -0.02}}),
            entry(K::vignette, {{"intensity", 0.6}, {"radius", 1.4}})}),
      look("Dreamy", "cloud",
           {entry(K::bloom, {{"radius", 16}, {"intensity", 1.0}}), entry(K::gaussianBlur, {{"radius", 2}}),
            entry(K::colorControls, {{"brightness", 0.1}, {"contrast", 1.0}, {"saturation", 1.1}})}),
      look("Cyberpunk", "bolt",
           {entry(K::hue, {{"angle", 40}}),
            entry(K::colorControls, {{"saturation", 1.6}, {"contrast", 1.1}, {"brightness", 0}}),
            entry(K::bloom, {{"radius", 12}, {"intensity", 0.8}})}),
      look("Thermal", "flame",
           {entry(K::colorControls, {{"saturation", 2.0}, {"contrast", 1.2}, {"brightness", 0}}),
            entry(K::hue, {{"angle", 120}}), entry(K::posterize, {{"levels", 8}})}),
      look("Security cam", "video",
           {entry(K::bw), entry(K::colorControls, {{"contrast", 1.2}, {"brightness", 0}, {"saturation", 1}}),
            entry(K::scanlines, {{"intensity", 0.25}, {"lineSize", 2}}),
            entry(K::vignette, {{"intensity", 1.0}, {"radius", 1.1}})}),
      look("Cinematic", "film",
           {entry(K::barnDoor, {{"coverage", 0.11}, {"orientation", 0}}),
            entry(K::colorControls, {{"contrast", 1.1}, {"saturation", 1.05}, {"brightness", 0}}),
            entry(K::vignette, {{"intensity", 0.5}, {"radius", 1.4}})}),
      look("Cool", "snowflake", {entry(K::temperature, {{"temp", 4500}, {"tint", -10}})}),
      look("Warm", "sun.max", {entry(K::temperature, {{"temp", 8200}, {"tint", 12}})}),
      look("Pop", "wand.and.rays",
           {entry(K::colorControls, {{"saturation", 1.5}, {"contrast", 1.15}, {"brightness", 0.02}}),
            entry(K::vibrance, {{"amount", 0.4}})}),
  };
}

std::vector<VideoFilterConfig> stackOfLook(const VideoEffectPreset& look) {
  std::vector<VideoFilterConfig> stack = look.filters;
  for (VideoFilterConfig& filter : stack) filter.id = Uuid::make();
  return stack;
}

}  // namespace tavorin

#include "stores/VideoEffectPresetStore.h"

#include <algorithm>

#include "base/Text.h"
#include "stores/JsonFile.h"

namespace tavorin {

VideoEffectPresetStore::VideoEffectPresetStore(ShowFolder folder) : fileURL_(folder.file("videoEffectPresets.json")) {
  folder.ensureRoot();
  presets.set(readJsonFile<std::vector<VideoEffectPreset>>(fileURL_).value_or(std::vector<VideoEffectPreset>{}));
}

VideoEffectPreset VideoEffectPresetStore::add(const std::string& name, const std::vector<VideoFilterConfig>& filters) {
  VideoEffectPreset preset;
  preset.name = trimmed(name);
  if (preset.name.empty()) preset.name = "My look " + std::to_string(presets->size() + 1);
  preset.symbol = "star.fill";
  preset.filters = filters;
  presets.modify([&](std::vector<VideoEffectPreset>& list) { list.push_back(preset); });
  save();
  return preset;
}

void VideoEffectPresetStore::rename(const Uuid& id, const std::string& name) {
  const std::string text = trimmed(name);
  if (text.empty()) return;
  const auto& list = presets.get();
  if (std::none_of(list.begin(), list.end(), [&](const VideoEffectPreset& p) { return p.id == id; })) return;
  presets.modify([&](std::vector<VideoEffectPreset>& all) {
    for (VideoEffectPreset& preset : all) {
      if (preset.id == id) preset.name = text;
    }
  });
  save();
}

void VideoEffectPresetStore::remove(const Uuid& id) {
  const auto& list = presets.get();
  if (std::none_of(list.begin(), list.end(), [&](const VideoEffectPreset& p) { return p.id == id; })) return;
  presets.modify([&](std::vector<VideoEffectPreset>& all) {
    std::erase_if(all, [&](const VideoEffectPreset& preset) { return preset.id == id; });
  });
  save();
}

void VideoEffectPresetStore::save() const { writeJsonFile(fileURL_, presets.get()); }

}  // namespace tavorin

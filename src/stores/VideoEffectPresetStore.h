#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "base/Published.h"
#include "base/Uuid.h"
#include "model/VideoEffectPreset.h"
#include "stores/ShowFolder.h"

namespace tavorin {

// The operator's own looks, kept in "videoEffectPresets.json" as one array. A
// missing or bad file reads as no looks and stays on disk until the next change.
class VideoEffectPresetStore {
 public:
  explicit VideoEffectPresetStore(ShowFolder folder);

  Published<std::vector<VideoEffectPreset>> presets;

  const std::filesystem::path& fileURL() const { return fileURL_; }

  // A new look of `filters` (a copy); a blank name becomes "My look <n>". Saved; returned.
  VideoEffectPreset add(const std::string& name, const std::vector<VideoFilterConfig>& filters);
  // A blank name, or an unknown id, changes nothing.
  void rename(const Uuid& id, const std::string& name);
  // Saves only when a look went.
  void remove(const Uuid& id);

 private:
  void save() const;

  std::filesystem::path fileURL_;
};

}  // namespace tavorin

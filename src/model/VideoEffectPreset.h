#pragma once

#include <string>
#include <vector>

#include "base/Uuid.h"
#include "model/Json.h"
#include "model/VideoFilterConfig.h"

namespace tavorin {

// A look: a named filter stack a layer can take in one step.
struct VideoEffectPreset {
  Uuid id = Uuid::make();
  std::string name;
  std::string symbol;  // the icon drawn on its tile
  std::vector<VideoFilterConfig> filters;

  friend bool operator==(const VideoEffectPreset&, const VideoEffectPreset&) = default;
};

// Every key is required.
void to_json(Json& j, const VideoEffectPreset& v);
void from_json(const Json& j, VideoEffectPreset& v);

// The eighteen looks that come with the program, in the browser's order;
// constants, never stored. Each call gives entries with fresh ids.
std::vector<VideoEffectPreset> builtInLooks();

// A look's stack for a layer: a copy whose entries have fresh ids, so a look
// applied twice never gives two entries one id.
std::vector<VideoFilterConfig> stackOfLook(const VideoEffectPreset& look);

}  // namespace tavorin

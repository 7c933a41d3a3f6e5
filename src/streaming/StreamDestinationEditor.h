#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/StreamDestination.h"

// What the destination editor decides, apart from how it is drawn: the
// defaults a platform switch brings, the choices offered and the advice shown.
namespace tavorin {

struct AudioBitratePreset {
  int kbps = 0;
  std::string_view label;
};

inline constexpr std::array<AudioBitratePreset, 3> audioBitratePresets{
    {{128, "128 kbps"}, {160, "160 kbps"}, {192, "192 kbps"}}};

// Offered for Twitch only.
inline constexpr std::string_view bandwidthTestLabel = "Bandwidth test — stream to Twitch's ingest without going live";

// The video bit rate a platform switch starts from.
int defaultVideoBitrateKbps(StreamPlatform platform);

// Resets the quality to 1080p, 30 fps, 160 kbps audio and the platform's video
// bit rate and puts in the platform's ingest. The name follows the platform
// only while it is empty or another platform's name; a typed name stays.
void changePlatform(StreamDestination& destination, StreamPlatform to);

// {30, 60}; Facebook takes 30 only.
std::vector<int> frameRateChoices(StreamPlatform platform);
// "30 fps", "60 fps".
std::string frameRateLabel(int fps);

// Where to find the key and what to know, one line under the server field.
std::string_view advice(StreamPlatform platform);

// For the portrait platforms, until the destination is on the vertical canvas.
std::optional<std::string_view> verticalAdvice(const StreamDestination& destination);

}  // namespace tavorin

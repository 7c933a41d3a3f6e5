#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/EnumNames.h"
#include "base/Uuid.h"

namespace tavorin {

enum class StreamPlatform { twitch, youtube, kick, facebook, tiktok, x, instagram, custom };
enum class StreamResolution { source, p1080, p720 };
enum class StreamCanvas { main, vertical };

struct StreamQuality {
  StreamResolution resolution = StreamResolution::p1080;
  int fps = 30;
  int videoBitrateKbps = 6000;
  int audioBitrateKbps = 160;

  bool operator==(const StreamQuality&) const = default;
};

// One place to go live. The stream key is not part of it: it lives in the
// secret store (StreamKeyStore), so the destinations file can be shared safely.
struct StreamDestination {
  Uuid id = Uuid::make();
  std::string name;
  StreamPlatform platform = StreamPlatform::custom;
  // RTMP or RTMPS URL ending in the application path; the key is the publish name.
  std::string serverURL;
  StreamQuality quality;
  // Twitch only; absent means false.
  std::optional<bool> bandwidthTest;
  // Absent means main.
  std::optional<StreamCanvas> canvas;

  bool operator==(const StreamDestination&) const = default;
};

// "Twitch", "YouTube", … "Custom RTMP".
std::string_view displayName(StreamPlatform platform);

// Lowers the bit rate and frame rate to what the platform accepts; lower values stand.
StreamDestination applyLimits(StreamDestination destination);

template <>
struct EnumNames<StreamPlatform> {
  using P = StreamPlatform;
  static constexpr std::pair<P, std::string_view> table[] = {
      {P::twitch, "twitch"}, {P::youtube, "youtube"}, {P::kick, "kick"}, {P::facebook, "facebook"},
      {P::tiktok, "tiktok"}, {P::x, "x"},             {P::instagram, "instagram"}, {P::custom, "custom"}};
};

template <>
struct EnumNames<StreamResolution> {
  using R = StreamResolution;
  static constexpr std::pair<R, std::string_view> table[] = {{R::source, "source"}, {R::p1080, "p1080"}, {R::p720, "p720"}};
};

template <>
struct EnumNames<StreamCanvas> {
  using C = StreamCanvas;
  static constexpr std::pair<C, std::string_view> table[] = {{C::main, "main"}, {C::vertical, "vertical"}};
};

}  // namespace tavorin

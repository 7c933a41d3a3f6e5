#include "model/StreamDestination.h"

#include <algorithm>
#include <limits>

namespace tavorin {

namespace {

struct PlatformLimits {
  int maxVideoBitrateKbps = std::numeric_limits<int>::max();
  int maxFps = 60;
};

PlatformLimits limits(StreamPlatform platform) {
  switch (platform) {
    case StreamPlatform::twitch: return {6000, 60};
    case StreamPlatform::youtube: return {51000, 60};
    case StreamPlatform::kick: return {8000, 60};
    case StreamPlatform::facebook: return {6000, 30};
    case StreamPlatform::tiktok:
    case StreamPlatform::x:
    case StreamPlatform::instagram:
    case StreamPlatform::custom: break;
  }
  return {};
}

}  // namespace

std::string_view displayName(StreamPlatform platform) {
  switch (platform) {
    case StreamPlatform::twitch: return "Twitch";
    case StreamPlatform::youtube: return "YouTube";
    case StreamPlatform::kick: return "Kick";
    case StreamPlatform::facebook: return "Facebook";
    case StreamPlatform::tiktok: return "TikTok";
    case StreamPlatform::x: return "X (Twitter)";
    case StreamPlatform::instagram: return "Instagram";
    case StreamPlatform::custom: return "Custom RTMP";
  }
  return "Custom RTMP";
}

StreamDestination applyLimits(StreamDestination destination) {
  const PlatformLimits limit = limits(destination.platform);
  destination.quality.videoBitrateKbps = std::min(destination.quality.videoBitrateKbps, limit.maxVideoBitrateKbps);
  destination.quality.fps = std::min(destination.quality.fps, limit.maxFps);
  return destination;
}

}  // namespace tavorin

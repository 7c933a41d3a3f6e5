#include "streaming/StreamDestinationEditor.h"

#include "streaming/StreamIngests.h"

namespace tavorin {

namespace {

constexpr StreamPlatform allPlatforms[] = {StreamPlatform::twitch,   StreamPlatform::youtube, StreamPlatform::kick,
                                           StreamPlatform::facebook, StreamPlatform::tiktok,  StreamPlatform::x,
                                           StreamPlatform::instagram, StreamPlatform::custom};

bool isAPlatformName(const std::string& name) {
  for (StreamPlatform platform : allPlatforms) {
    if (name == displayName(platform)) return true;
  }
  return false;
}

}  // namespace

int defaultVideoBitrateKbps(StreamPlatform platform) {
  switch (platform) {
    case StreamPlatform::twitch: return 6000;
    case StreamPlatform::youtube: return 9000;
    case StreamPlatform::kick: return 7000;
    case StreamPlatform::facebook: return 4000;
    case StreamPlatform::tiktok: return 4500;
    case StreamPlatform::x: return 5000;
    case StreamPlatform::instagram: return 3500;
    case StreamPlatform::custom: return 6000;
  }
  return 6000;
}

void changePlatform(StreamDestination& destination, StreamPlatform to) {
  destination.platform = to;
  destination.quality = StreamQuality{StreamResolution::p1080, 30, defaultVideoBitrateKbps(to), 160};
  destination.serverURL = defaultServerURL(to);
  if (destination.name.empty() || isAPlatformName(destination.name)) destination.name = std::string(displayName(to));
}

std::vector<int> frameRateChoices(StreamPlatform platform) {
  if (platform == StreamPlatform::facebook) return {30};
  return {30, 60};
}

std::string frameRateLabel(int fps) { return std::to_string(fps) + " fps"; }

std::string_view advice(StreamPlatform platform) {
  switch (platform) {
    case StreamPlatform::twitch:
      return "Creator Dashboard → Settings → Stream → Primary Stream Key. The key is persistent.";
    case StreamPlatform::youtube:
      return "YouTube Studio → Go Live → Stream settings → Stream key. Persistent; channel needs one-time live "
             "enablement (24h wait).";
    case StreamPlatform::kick:
      return "Creator Dashboard → Settings → Stream URL & Key. The key is persistent.";
    case StreamPlatform::facebook:
      return "Facebook Live → Streaming software: use a persistent key from Advanced Settings, or paste the "
             "per-stream key each time. 8-hour stream limit.";
    case StreamPlatform::tiktok:
      return "TikTok LIVE Center → LIVE Producer (requires LIVE access: 1,000+ followers, 18+). TikTok issues a NEW "
             "server URL and key for every stream — paste both fresh each session. Video is portrait 9:16; the 16:9 "
             "canvas will letterbox.";
    case StreamPlatform::x:
      return "X Media Studio → Producer → Sources → create an RTMP source (requires X Premium); its URL and key are "
             "reusable. You must still press Go Live on X after the feed connects.";
    case StreamPlatform::instagram:
      return "Instagram Live Producer (professional account). URL + key expire per session — paste both fresh each "
             "time. Portrait 9:16; 4-hour limit.";
    case StreamPlatform::custom:
      return "Any RTMP or RTMPS ingest: rtmp(s)://host[:port]/app. The key (stream name) is appended as the publish "
             "path.";
  }
  return {};
}

std::optional<std::string_view> verticalAdvice(const StreamDestination& destination) {
  const bool portraitPlatform =
      destination.platform == StreamPlatform::tiktok || destination.platform == StreamPlatform::instagram;
  if (!portraitPlatform || destination.canvas == StreamCanvas::vertical) return std::nullopt;
  return "This platform wants vertical 9:16 video — switch Canvas to “Vertical” below and arrange it in the "
         "Vertical tab.";
}

}  // namespace tavorin

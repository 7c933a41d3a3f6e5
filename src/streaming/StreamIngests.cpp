#include "streaming/StreamIngests.h"

namespace tavorin {

std::string defaultServerURL(StreamPlatform platform) {
  switch (platform) {
    case StreamPlatform::twitch: return std::string(twitchIngestURL);
    case StreamPlatform::youtube: return std::string(youtubePrimaryIngestURL);
    case StreamPlatform::kick: return std::string(kickIngestURL);
    case StreamPlatform::facebook: return std::string(facebookIngestURL);
    case StreamPlatform::tiktok:
    case StreamPlatform::x:
    case StreamPlatform::instagram:
    case StreamPlatform::custom: break;
  }
  return {};
}

std::string youtubeBackupURL() { return std::string(youtubeBackupIngestURL); }

}  // namespace tavorin

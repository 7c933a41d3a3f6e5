#pragma once

#include <string>
#include <string_view>

#include "model/StreamDestination.h"

// The ingest entry points this build offers by default. The platforms move
// their ingests now and then; these are the only places that name them.
namespace tavorin {

inline constexpr std::string_view twitchIngestURL = "rtmps://live.twitch.tv/app";
inline constexpr std::string_view youtubePrimaryIngestURL = "rtmps://a.rtmps.youtube.com:443/live2";
// Used on odd connection attempts, so a failing primary does not end the stream.
inline constexpr std::string_view youtubeBackupIngestURL = "rtmps://b.rtmps.youtube.com:443/live2?backup=1";
inline constexpr std::string_view kickIngestURL = "rtmps://fa723fc1b171.global-contribute.live-video.net:443/app";
inline constexpr std::string_view facebookIngestURL = "rtmps://live-api-s.facebook.com:443/rtmp";

// Empty for platforms that hand out a server per stream or have no common one.
std::string defaultServerURL(StreamPlatform platform);
std::string youtubeBackupURL();

}  // namespace tavorin

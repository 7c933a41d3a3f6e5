#include "model/StreamDestination.h"

#include <gtest/gtest.h>

#include "streaming/StreamDestinationEditor.h"

namespace tavorin {
namespace {

StreamDestination on(StreamPlatform platform, int fps, int videoKbps) {
  StreamDestination d;
  d.platform = platform;
  d.quality.fps = fps;
  d.quality.videoBitrateKbps = videoKbps;
  return d;
}

TEST(StreamDestinationLimits, LowerWhatThePlatformRefusesAndKeepTheRest) {
  const auto facebook = applyLimits(on(StreamPlatform::facebook, 60, 9000));
  EXPECT_EQ(facebook.quality.fps, 30);
  EXPECT_EQ(facebook.quality.videoBitrateKbps, 6000);

  EXPECT_EQ(applyLimits(on(StreamPlatform::tiktok, 60, 20000)).quality.videoBitrateKbps, 20000);
  EXPECT_EQ(applyLimits(on(StreamPlatform::youtube, 60, 60000)).quality.videoBitrateKbps, 51000);
  EXPECT_EQ(applyLimits(on(StreamPlatform::kick, 120, 9000)).quality,
            (StreamQuality{StreamResolution::p1080, 60, 8000, 160}));
  // Values below the maxima stand.
  EXPECT_EQ(applyLimits(on(StreamPlatform::twitch, 24, 2500)).quality.fps, 24);
  EXPECT_EQ(applyLimits(on(StreamPlatform::twitch, 24, 2500)).quality.videoBitrateKbps, 2500);
}

TEST(StreamDestinationEditor, PlatformSwitchBringsThePlatformsDefaults) {
  StreamDestination d;
  changePlatform(d, StreamPlatform::twitch);
  EXPECT_EQ(d.name, "Twitch");
  EXPECT_EQ(d.serverURL, "rtmps://live.twitch.tv/app");
  d.quality = {StreamResolution::p720, 60, 3000, 128};

  changePlatform(d, StreamPlatform::youtube);
  EXPECT_EQ(d.name, "YouTube");
  EXPECT_EQ(d.serverURL, "rtmps://a.rtmps.youtube.com:443/live2");
  EXPECT_EQ(d.quality, (StreamQuality{StreamResolution::p1080, 30, 9000, 160}));

  // Portrait platforms hand out a server per stream: the old one must not linger.
  changePlatform(d, StreamPlatform::tiktok);
  EXPECT_EQ(d.name, "TikTok");
  EXPECT_EQ(d.serverURL, "");
  EXPECT_EQ(d.quality.videoBitrateKbps, 4500);

  d.name = "Morning show";
  changePlatform(d, StreamPlatform::kick);
  EXPECT_EQ(d.name, "Morning show");
  EXPECT_EQ(d.serverURL, "rtmps://fa723fc1b171.global-contribute.live-video.net:443/app");
}

TEST(StreamDestinationEditor, ChoicesAndAdviceFollowThePlatform) {
  EXPECT_EQ(frameRateChoices(StreamPlatform::facebook), std::vector<int>{30});
  EXPECT_EQ(frameRateChoices(StreamPlatform::youtube), (std::vector<int>{30, 60}));
  // The editor never offers a rate that saving would lower.
  for (StreamPlatform platform : {StreamPlatform::twitch, StreamPlatform::youtube, StreamPlatform::kick,
                                  StreamPlatform::facebook, StreamPlatform::tiktok, StreamPlatform::x,
                                  StreamPlatform::instagram, StreamPlatform::custom}) {
    for (int fps : frameRateChoices(platform)) {
      EXPECT_EQ(applyLimits(on(platform, fps, 1000)).quality.fps, fps) << displayName(platform);
    }
  }

  StreamDestination d;
  d.platform = StreamPlatform::instagram;
  EXPECT_TRUE(verticalAdvice(d).has_value());
  d.canvas = StreamCanvas::main;
  EXPECT_TRUE(verticalAdvice(d).has_value());
  d.canvas = StreamCanvas::vertical;
  EXPECT_FALSE(verticalAdvice(d).has_value());
  d.platform = StreamPlatform::twitch;
  d.canvas.reset();
  EXPECT_FALSE(verticalAdvice(d).has_value());
}

}  // namespace
}  // namespace tavorin

#include <gtest/gtest.h>

#include "streaming/codec/VideoCodecSettings.h"

namespace tavorin {
namespace {

using Key = VTSessionOptionKey;

template <class T>
T valueOf(const VTSessionOptions& options, Key key) {
  return std::get<T>(options.at(key));
}

TEST(VideoCodecSettingsTest, DataRateLimitsFollowTheAverageRate) {
  VideoCodecSettings settings;
  settings.bitRate = 6'000'000;
  EXPECT_EQ(valueOf<std::vector<double>>(settings.options(), Key::dataRateLimits),
            (std::vector<double>{1125000.0, 1.0}));

  settings.dataRateLimits = std::vector<double>{500000, 2};
  EXPECT_EQ(valueOf<std::vector<double>>(settings.options(), Key::dataRateLimits), (std::vector<double>{500000, 2}));

  for (auto limits : {std::optional<std::vector<double>>{}, std::optional(std::vector<double>{0}),
                      std::optional(std::vector<double>{0, 0, 0})}) {
    settings.dataRateLimits = limits;
    EXPECT_EQ(settings.options().count(Key::dataRateLimits), 0u);
  }

  settings.dataRateLimits = std::vector<double>{0, 0};
  settings.bitRateMode = VideoCodecSettings::BitRateMode::constant;
  const auto options = settings.options();
  EXPECT_EQ(options.count(Key::dataRateLimits), 0u);
  EXPECT_EQ(valueOf<std::int64_t>(options, Key::constantBitRate), 6'000'000);
  EXPECT_EQ(options.count(Key::averageBitRate), 0u);
}

TEST(VideoCodecSettingsTest, ProfileDecidesReorderingEntropyAndFormat) {
  VideoCodecSettings settings;
  auto options = settings.options();
  EXPECT_FALSE(valueOf<bool>(options, Key::allowFrameReordering));
  EXPECT_EQ(options.count(Key::h264EntropyMode), 0u);
  EXPECT_EQ(settings.format(), VideoCodecSettings::Format::h264);

  settings.profileLevel = "H264_High_AutoLevel";
  options = settings.options();
  EXPECT_TRUE(valueOf<bool>(options, Key::allowFrameReordering));
  EXPECT_EQ(valueOf<std::string>(options, Key::h264EntropyMode), kH264EntropyModeCABAC);
  settings.allowFrameReordering = false;
  EXPECT_FALSE(valueOf<bool>(settings.options(), Key::allowFrameReordering));

  settings.profileLevel = "HEVC_Main_AutoLevel";
  options = settings.options();
  EXPECT_EQ(settings.format(), VideoCodecSettings::Format::hevc);
  EXPECT_EQ(options.count(Key::h264EntropyMode), 0u);
  EXPECT_EQ(valueOf<std::string>(options, Key::encoderID), kHardwareHevcEncoderID);
}

TEST(VideoCodecSettingsTest, HardwareAndScalingOptions) {
  VideoCodecSettings settings;
  settings.scalingMode = VideoCodecSettings::ScalingMode::letterbox;
  auto options = settings.options();
  EXPECT_EQ(valueOf<std::string>(options, Key::encoderID), kHardwareAvcEncoderID);
  EXPECT_TRUE(valueOf<bool>(options, Key::requireHardwareAcceleratedVideoEncoder));
  EXPECT_EQ((valueOf<std::map<std::string, std::string>>(options, Key::pixelTransferProperties)),
            (std::map<std::string, std::string>{{"ScalingMode", "Letterbox"}}));
  EXPECT_EQ(valueOf<std::int64_t>(options, Key::maxKeyFrameIntervalDuration), 2);

  settings.isHardwareAcceleratedEnabled = false;
  options = settings.options();
  EXPECT_EQ(options.count(Key::encoderID), 0u);
  EXPECT_EQ(options.count(Key::enableHardwareAcceleratedVideoEncoder), 0u);
}

TEST(VideoCodecSettingsTest, OnlySessionFieldsNeedANewSession) {
  const VideoCodecSettings base;
  auto next = base;
  next.bitRate = 2'000'000;
  next.frameInterval = 1.0 / 30;
  EXPECT_FALSE(base.needsNewSession(next));
  next.videoSize = {1280, 720};
  EXPECT_TRUE(base.needsNewSession(next));
  next = base;
  next.dataRateLimits = std::nullopt;
  EXPECT_TRUE(base.needsNewSession(next));
}

}  // namespace
}  // namespace tavorin

#include "streaming/VideoCodecSettings.h"

#include <gtest/gtest.h>

namespace tavorin {
namespace {

TEST(VideoCodecSettings, EncodingTakesReorderingRateCapAndFitFromTheSettings) {
  struct Case {
    VideoProfile profile;
    std::optional<bool> reordering;
    VideoCodecSettings::BitRateMode mode;
    std::optional<std::vector<double>> limits;
    std::optional<std::int64_t> maxBitRate, bufferBits;
    int bFrames;
  };
  using Mode = VideoCodecSettings::BitRateMode;
  const std::vector<double> defaults{0, 0};
  const Case cases[] = {
      // 6 Mbit/s on average with the default limits: 1,125,000 bytes in any one second.
      {VideoProfile::high, std::nullopt, Mode::average, defaults, 9'000'000, 9'000'000, 2},
      {VideoProfile::high, false, Mode::average, std::vector<double>{500'000, 2}, 2'000'000, 4'000'000, 0},
      {VideoProfile::baseline, std::nullopt, Mode::average, std::vector<double>{0, 0, 0}, std::nullopt, std::nullopt, 0},
      {VideoProfile::baseline, true, Mode::constant, defaults, std::nullopt, std::nullopt, 2},
      {VideoProfile::main, std::nullopt, Mode::average, std::nullopt, std::nullopt, std::nullopt, 2},
  };
  for (const auto& c : cases) {
    VideoCodecSettings settings;
    settings.bitRate = 6'000'000;
    settings.profile = c.profile;
    settings.allowFrameReordering = c.reordering;
    settings.bitRateMode = c.mode;
    settings.dataRateLimits = c.limits;
    const auto encoding = settings.encoding();
    EXPECT_EQ(encoding.maxBitRate, c.maxBitRate);
    EXPECT_EQ(encoding.bufferBits, c.bufferBits);
    EXPECT_EQ(encoding.bFrames, c.bFrames);
    EXPECT_EQ(encoding.cabac, c.profile != VideoProfile::baseline);
  }
  VideoCodecSettings settings;
  for (auto [mode, fit] : {std::pair{VideoCodecSettings::ScalingMode::trim, FrameFit::trim},
                           std::pair{VideoCodecSettings::ScalingMode::letterbox, FrameFit::letterbox},
                           std::pair{VideoCodecSettings::ScalingMode::cropSourceToCleanAperture, FrameFit::stretch}}) {
    settings.scalingMode = mode;
    EXPECT_EQ(settings.encoding().fit, fit);
  }
  // A minimum frame spacing lowers the rate the encoder takes frames at.
  settings.expectedFrameRate = 60;
  settings.frameInterval = 1.0 / 30;
  EXPECT_DOUBLE_EQ(settings.encoding().frameRate, 30);
}

}  // namespace
}  // namespace tavorin

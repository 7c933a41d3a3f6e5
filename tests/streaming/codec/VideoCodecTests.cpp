#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>

#include "support/CodecTestSupport.h"
#include "streaming/codec/VideoCodec.h"

namespace tavorin {
namespace {

constexpr double kFrameTime = 1.0 / 30;

VideoCodecSettings streamSettings() {
  VideoCodecSettings settings;
  settings.videoSize = {640, 360};
  settings.profileLevel = "H264_Main_AutoLevel";
  settings.bitRate = 1'000'000;
  settings.maxKeyFrameIntervalDuration = 1;
  settings.expectedFrameRate = 30;
  // Each frame comes out as it goes in, so a test can count them.
  settings.isLowLatencyRateControlEnabled = true;
  settings.isHardwareAcceleratedEnabled = false;
  return settings;
}

PixelBufferRef movingPattern(int width, int height, int index) {
  auto frame = PixelBuffer::make(width, height);
  for (int y = 0; y < height; ++y) {
    std::uint8_t* row = frame->row(y);
    for (int x = 0; x < width; ++x) {
      row[4 * x + 0] = static_cast<std::uint8_t>(x + 4 * index);
      row[4 * x + 1] = static_cast<std::uint8_t>(y * 2);
      row[4 * x + 2] = static_cast<std::uint8_t>((x ^ y) + index);
      row[4 * x + 3] = 255;
    }
  }
  return frame;
}

// A frame whose top `dark` rows are black and the rest white.
PixelBufferRef whiteWithDarkTop(int width, int height, int dark) {
  auto frame = PixelBuffer::make(width, height);
  frame->fill(255, 255, 255, 255);
  for (int y = 0; y < dark; ++y) std::fill_n(frame->row(y), width * 4, std::uint8_t{0});
  for (int y = 0; y < dark; ++y) {
    for (int x = 0; x < width; ++x) frame->row(y)[4 * x + 3] = 255;
  }
  return frame;
}

struct Harness {
  explicit Harness(const VideoCodecSettings& settings) {
    codec.setOutputHandler([this](const EncodedVideoSample& sample) {
      std::lock_guard lock(mutex);
      samples.push_back(sample);
    });
    codec.setLogHandler([this](const std::string& line) {
      std::lock_guard lock(mutex);
      logs.push_back(line);
    });
    codec.setSettings(settings);
    codec.startRunning();
  }

  std::vector<EncodedVideoSample> taken() {
    codec.waitUntilIdle();
    std::lock_guard lock(mutex);
    return samples;
  }

  VideoCodec codec{-1};
  std::mutex mutex;
  std::vector<EncodedVideoSample> samples;
  std::vector<std::string> logs;
};

// Walks the 4-byte lengths; the NAL types it found, or nothing when they do not add up.
std::optional<std::vector<int>> nalTypes(const std::vector<std::uint8_t>& data) {
  std::vector<int> types;
  std::size_t at = 0;
  while (at + 4 <= data.size()) {
    const std::size_t length = (std::size_t{data[at]} << 24) | (std::size_t{data[at + 1]} << 16) |
                               (std::size_t{data[at + 2]} << 8) | data[at + 3];
    at += 4;
    if (length == 0 || at + length > data.size() || (data[at] & 0x80)) return std::nullopt;
    types.push_back(data[at] & 0x1F);
    at += length;
  }
  if (at != data.size()) return std::nullopt;
  return types;
}

std::vector<AVFrame*> decodeAll(const std::vector<EncodedVideoSample>& samples, std::vector<ffmpeg::FramePtr>& keep) {
  testing::TestDecoder decoder(AV_CODEC_ID_H264, samples.front().format->avcC);
  EXPECT_TRUE(decoder.opened());
  auto take = [&](const AVFrame& frame) { keep.emplace_back(av_frame_clone(&frame)); };
  for (const auto& sample : samples) EXPECT_TRUE(decoder.decode(sample.data, take));
  decoder.flush(take);
  std::vector<AVFrame*> frames;
  for (auto& frame : keep) frames.push_back(frame.get());
  return frames;
}

TEST(VideoCodecTest, EncodesDecodableLengthPrefixedH264) {
  Harness harness(streamSettings());
  for (int i = 0; i < 60; ++i) ASSERT_TRUE(harness.codec.append(movingPattern(640, 360, i), 1 + i * kFrameTime));
  const auto samples = harness.taken();
  ASSERT_EQ(samples.size(), 60u) << (harness.logs.empty() ? "" : harness.logs.front());

  for (std::size_t i = 0; i < samples.size(); ++i) {
    EXPECT_EQ(samples[i].isKeyFrame, i % 30 == 0) << "frame " << i;
    EXPECT_NEAR(samples[i].pts, 1 + static_cast<double>(i) * kFrameTime, 1e-6);
    const auto types = nalTypes(samples[i].data);
    ASSERT_TRUE(types) << "frame " << i;
    const bool hasIdr = std::count(types->begin(), types->end(), 5) > 0;
    EXPECT_EQ(hasIdr, samples[i].isKeyFrame);
    for (int type : *types) EXPECT_TRUE(type >= 1 && type <= 12) << type;
  }

  const auto& format = *samples.front().format;
  EXPECT_EQ(format.width, 640);
  EXPECT_EQ(format.height, 360);
  const auto& avcC = format.avcC;
  ASSERT_GT(avcC.size(), 11u);
  EXPECT_EQ(avcC[0], 1);
  EXPECT_EQ(avcC[1], 77);  // Main
  EXPECT_EQ(avcC[4], 0xFF);
  EXPECT_EQ(avcC[5], 0xE1);
  const std::size_t spsLength = (avcC[6] << 8) | avcC[7];
  ASSERT_GT(avcC.size(), 8 + spsLength + 3);
  EXPECT_EQ(avcC[8] & 0x1F, 7);
  EXPECT_EQ(avcC[8 + 1], avcC[1]);
  EXPECT_EQ(avcC[8 + spsLength], 1);
  const std::size_t ppsLength = (avcC[9 + spsLength] << 8) | avcC[10 + spsLength];
  EXPECT_EQ(avcC[11 + spsLength] & 0x1F, 8);
  EXPECT_EQ(avcC.size(), 11 + spsLength + ppsLength);

  std::vector<ffmpeg::FramePtr> keep;
  const auto frames = decodeAll(samples, keep);
  ASSERT_EQ(frames.size(), 60u);
  for (const AVFrame* frame : frames) {
    EXPECT_EQ(frame->width, 640);
    EXPECT_EQ(frame->height, 360);
  }
}

TEST(VideoCodecTest, HighProfileReordersWithDecodeTimes) {
  auto settings = streamSettings();
  settings.profileLevel = "H264_High_AutoLevel";
  settings.isLowLatencyRateControlEnabled = false;
  Harness harness(settings);
  for (int i = 0; i < 60; ++i) harness.codec.append(movingPattern(640, 360, i), i * kFrameTime);
  const auto samples = harness.taken();
  // The encoder looks ahead, so the last frames wait for more input.
  ASSERT_GT(samples.size(), 30u);
  EXPECT_EQ(samples.front().format->avcC[1], 100);
  bool reordered = false;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    ASSERT_TRUE(samples[i].dts);
    EXPECT_LE(*samples[i].dts, samples[i].pts + 1e-9);
    if (i == 0) continue;
    EXPECT_GT(*samples[i].dts, *samples[i - 1].dts);
    if (samples[i].pts < samples[i - 1].pts) reordered = true;
  }
  EXPECT_TRUE(reordered);
  std::vector<ffmpeg::FramePtr> keep;
  EXPECT_EQ(decodeAll(samples, keep).size(), samples.size());
}

TEST(VideoCodecTest, SettingsChangesInFlight) {
  Harness harness(streamSettings());
  double t = 0;
  for (int i = 0; i < 10; ++i) harness.codec.append(movingPattern(640, 360, i), t += kFrameTime);
  auto settings = streamSettings();
  settings.bitRate = 500'000;
  harness.codec.setSettings(settings);
  for (int i = 10; i < 20; ++i) harness.codec.append(movingPattern(640, 360, i), t += kFrameTime);
  auto samples = harness.taken();
  ASSERT_EQ(samples.size(), 20u);
  EXPECT_FALSE(samples[10].isKeyFrame);
  EXPECT_EQ(samples[10].format, samples[0].format);
  EXPECT_NE(std::find(harness.logs.begin(), harness.logs.end(), "bitRate change from 1000000 to 500000"),
            harness.logs.end());

  // Repeated and earlier times never reach the encoder.
  harness.codec.append(movingPattern(640, 360, 20), t);
  harness.codec.append(movingPattern(640, 360, 21), t - kFrameTime);
  EXPECT_EQ(harness.taken().size(), 20u);

  settings.videoSize = {320, 180};
  harness.codec.setSettings(settings);
  harness.codec.append(movingPattern(640, 360, 22), t += kFrameTime);
  samples = harness.taken();
  ASSERT_EQ(samples.size(), 21u);
  EXPECT_TRUE(samples[20].isKeyFrame);
  EXPECT_NE(*samples[20].format, *samples[19].format);
  EXPECT_EQ(samples[20].format->width, 320);

  // A new source size makes a new session too, though the format stays equal.
  harness.codec.append(movingPattern(800, 450, 23), t += kFrameTime);
  samples = harness.taken();
  ASSERT_EQ(samples.size(), 22u);
  EXPECT_TRUE(samples[21].isKeyFrame);
  EXPECT_EQ(*samples[21].format, *samples[20].format);

  settings.frameInterval = 0.09;  // every third frame at 30 fps
  harness.codec.setSettings(settings);
  for (int i = 0; i < 9; ++i) harness.codec.append(movingPattern(800, 450, i), t += kFrameTime);
  EXPECT_EQ(harness.taken().size(), 25u);
}

TEST(VideoCodecTest, BitRateChangeTakesEffectInTheRunningSession) {
  auto settings = streamSettings();
  settings.videoSize = {160, 90};
  settings.bitRate = 2'000'000;
  settings.maxKeyFrameIntervalDuration = 100;
  Harness harness(settings);
  std::uint32_t seed = 1;
  auto noise = [&] {
    auto frame = PixelBuffer::make(160, 90);
    for (int y = 0; y < 90; ++y) {
      for (int x = 0; x < 160 * 4; ++x)
        frame->row(y)[x] = static_cast<std::uint8_t>((seed = seed * 1664525u + 1013904223u) >> 24);
    }
    return frame;
  };
  double t = 0;
  for (int i = 0; i < 40; ++i) harness.codec.append(noise(), t += kFrameTime);
  settings.bitRate = 100'000;
  harness.codec.setSettings(settings);
  for (int i = 0; i < 40; ++i) harness.codec.append(noise(), t += kFrameTime);
  const auto samples = harness.taken();
  ASSERT_EQ(samples.size(), 80u);
  EXPECT_FALSE(samples[40].isKeyFrame);
  std::size_t before = 0, after = 0;
  for (int i = 20; i < 40; ++i) before += samples[i].data.size();
  for (int i = 60; i < 80; ++i) after += samples[i].data.size();
  EXPECT_LT(after * 5, before);
}

TEST(VideoCodecTest, HevcWithoutAnEncoderLogsOnceAndSendsNothing) {
  auto settings = streamSettings();
  settings.profileLevel = "HEVC_Main_AutoLevel";
  Harness harness(settings);
  for (int i = 0; i < 3; ++i) harness.codec.append(movingPattern(64, 64, i), 1 + i * kFrameTime);
  EXPECT_TRUE(harness.taken().empty());
  EXPECT_EQ(harness.logs, (std::vector<std::string>{"can't create the video encoder: HEVC encoding is not available"}));
}

TEST(VideoCodecTest, RestartDropsFramesBeforeItsStartTime) {
  Harness harness(streamSettings());
  harness.codec.stopRunning();
  EXPECT_FALSE(harness.codec.append(movingPattern(640, 360, 0), 1));
  harness.codec.startRunning(5);
  harness.codec.append(movingPattern(640, 360, 1), 4);
  harness.codec.append(movingPattern(640, 360, 2), 5);
  const auto samples = harness.taken();
  ASSERT_EQ(samples.size(), 1u);
  EXPECT_TRUE(samples[0].isKeyFrame);
  EXPECT_EQ(samples[0].pts, 5);

  VideoCodec bounded(0);
  bounded.startRunning();
  EXPECT_FALSE(bounded.append(movingPattern(64, 64, 0), 1));
}

// The luma of the decoded frame at (x, y).
int lumaAt(const AVFrame& frame, int x, int y) { return frame.data[0][y * frame.linesize[0] + x]; }

TEST(VideoCodecTest, ScalingModesFitASourceOfAnotherShape) {
  using Mode = VideoCodecSettings::ScalingMode;
  for (Mode mode : {Mode::trim, Mode::letterbox, Mode::normal}) {
    auto settings = streamSettings();
    settings.scalingMode = mode;
    settings.isHardwareAcceleratedEnabled = true;  // falls back to software where no hardware works
    Harness harness(settings);
    for (int i = 0; i < 3; ++i) harness.codec.append(whiteWithDarkTop(480, 480, 60), 1 + i * kFrameTime);
    const auto samples = harness.taken();
    ASSERT_EQ(samples.size(), 3u) << enumName(mode);
    std::vector<ffmpeg::FramePtr> keep;
    const auto frames = decodeAll(samples, keep);
    ASSERT_FALSE(frames.empty());
    const AVFrame& frame = *frames.back();
    ASSERT_EQ(frame.width, 640);
    ASSERT_EQ(frame.height, 360);
    const int topCentre = lumaAt(frame, 320, 2);
    const int leftEdge = lumaAt(frame, 4, 200);
    const int centre = lumaAt(frame, 320, 200);
    EXPECT_GT(centre, 200) << enumName(mode);
    switch (mode) {
      case Mode::trim:  // the dark band is cut off
        EXPECT_GT(topCentre, 200);
        EXPECT_GT(leftEdge, 200);
        break;
      case Mode::letterbox:  // black bars beside a whole picture
        EXPECT_LT(topCentre, 40);
        EXPECT_LT(leftEdge, 40);
        break;
      default:  // stretched: the band stays, nothing beside it
        EXPECT_LT(topCentre, 40);
        EXPECT_GT(leftEdge, 200);
        break;
    }
  }
}

}  // namespace
}  // namespace tavorin

#include <gtest/gtest.h>

#include <cmath>

#include "streaming/codec/AudioCodec.h"
#include "support/CodecTestSupport.h"

namespace tavorin {
namespace {

struct Collected {
  std::vector<EncodedAudioSample> samples;
  std::vector<std::string> logs;
};

void connect(AudioCodec& codec, Collected& collected) {
  codec.setOutputHandler([&](const EncodedAudioSample& sample) { collected.samples.push_back(sample); });
  codec.setLogHandler([&](const std::string& line) { collected.logs.push_back(line); });
}

// Feeds `seconds` of a 1 kHz sine at 48 kHz stereo in blocks of `block` frames.
void feedSine(AudioCodec& codec, double seconds, int block, double hostStart, double hostJitter = 0) {
  const int total = static_cast<int>(seconds * 48000);
  std::vector<float> left(block), right(block);
  for (int start = 0; start < total; start += block) {
    const int frames = std::min(block, total - start);
    for (int i = 0; i < frames; ++i) {
      left[i] = 0.5f * static_cast<float>(std::sin(2 * M_PI * 1000 * (start + i) / 48000.0));
      right[i] = left[i];
    }
    const double jitter = (start / block) % 2 ? hostJitter : -hostJitter;
    codec.append(left.data(), right.data(), frames, hostStart + start / 48000.0 + jitter);
  }
}

TEST(AudioCodecTest, EncodesAToneThatDecodesBack) {
  for (double rate : {0.0, 44100.0}) {
    AudioCodec codec;
    Collected collected;
    connect(codec, collected);
    AudioCodecSettings settings;
    settings.bitRate = 128000;
    settings.sampleRate = rate;
    codec.setSettings(settings);
    codec.startRunning();
    feedSine(codec, 1.0, 441, 100.0);

    const int outRate = rate > 0 ? static_cast<int>(rate) : 48000;
    const auto& samples = collected.samples;
    const int packets = outRate / 1024;
    ASSERT_GE(static_cast<int>(samples.size()), packets - 2) << outRate;
    ASSERT_LE(static_cast<int>(samples.size()), packets + 1) << outRate;
    for (std::size_t i = 0; i < samples.size(); ++i) {
      EXPECT_NEAR(samples[i].pts, 100.0 + i * 1024.0 / outRate, 1e-9) << i;
      EXPECT_FALSE(samples[i].data.size() >= 2 && samples[i].data[0] == 0xFF && (samples[i].data[1] & 0xF0) == 0xF0)
          << "ADTS header in packet " << i;
    }
    const AudioFormatDescription format = *samples.front().format;
    EXPECT_EQ(format, (AudioFormatDescription{outRate, 2, 2}));
    EXPECT_EQ(codec.outputFormat(), format);
    const auto config = audioSpecificConfig(format);
    ASSERT_TRUE(config);

    testing::TestDecoder decoder(AV_CODEC_ID_AAC, *config);
    ASSERT_TRUE(decoder.opened());
    std::vector<float> decoded;
    auto take = [&](const AVFrame& frame) {
      EXPECT_EQ(frame.sample_rate, outRate);
      EXPECT_EQ(frame.ch_layout.nb_channels, 2);
      const auto* left = reinterpret_cast<const float*>(frame.data[0]);
      decoded.insert(decoded.end(), left, left + frame.nb_samples);
    };
    for (const auto& sample : samples) ASSERT_TRUE(decoder.decode(sample.data, take));
    decoder.flush(take);

    // Past the encoder's start-up, the tone should be 1 kHz at about its level.
    ASSERT_GT(decoded.size(), 8192u);
    const std::size_t from = 4096, to = decoded.size() - 2048;
    int crossings = 0;
    double energy = 0;
    for (std::size_t i = from; i < to; ++i) {
      if ((decoded[i - 1] < 0) != (decoded[i] < 0)) ++crossings;
      energy += decoded[i] * decoded[i];
    }
    const double seconds = static_cast<double>(to - from) / outRate;
    EXPECT_NEAR(crossings / 2.0 / seconds, 1000.0, 20.0) << outRate;
    EXPECT_NEAR(std::sqrt(energy / static_cast<double>(to - from)), 0.5 / std::sqrt(2.0), 0.05) << outRate;
  }
}

TEST(AudioCodecTest, PacketTimesFollowTheCountAndReanchorOnAJump) {
  AudioCodec codec;
  Collected collected;
  connect(codec, collected);
  codec.startRunning();
  // Host times wobble by a millisecond around the count: the count wins.
  feedSine(codec, 0.5, 480, 10.0, 0.001);
  const std::size_t before = collected.samples.size();
  ASSERT_GT(before, 15u);
  // The first block came 1 ms early: that is where the count starts.
  const double start = 10.0 - 0.001;
  for (std::size_t i = 0; i < before; ++i) EXPECT_NEAR(collected.samples[i].pts, start + i * 1024 / 48000.0, 1e-9);

  // A stall of seconds starts a new time line at the block after it; the
  // packet still in the encoder keeps its time on the old one.
  feedSine(codec, 0.5, 480, 20.0);
  const auto& samples = collected.samples;
  ASSERT_GT(samples.size(), before + 15);
  EXPECT_NEAR(samples[before].pts, start + before * 1024 / 48000.0, 1e-9);
  EXPECT_LE(samples[before + 1].pts, 20.0);
  EXPECT_GT(samples[before + 1].pts, 20.0 - 1024 / 48000.0);
  for (std::size_t i = before + 2; i < samples.size(); ++i) {
    EXPECT_NEAR(samples[i].pts - samples[i - 1].pts, 1024 / 48000.0, 1e-9);
  }
}

TEST(AudioCodecTest, AudioSpecificConfigBits) {
  EXPECT_EQ(audioSpecificConfig({48000, 2, 2}), (std::array<std::uint8_t, 2>{0x11, 0x90}));
  EXPECT_EQ(audioSpecificConfig({44100, 1, 2}), (std::array<std::uint8_t, 2>{0x12, 0x08}));
  EXPECT_EQ(audioSpecificConfig({7350, 7, 2}), (std::array<std::uint8_t, 2>{0x16, 0x38}));
  EXPECT_FALSE(audioSpecificConfig({45000, 2, 2}));
  EXPECT_FALSE(audioSpecificConfig({48000, 8, 2}));
  EXPECT_FALSE(audioSpecificConfig({48000, 0, 2}));
}

TEST(AudioCodecTest, ChannelMapAndFormatsOtherThanAac) {
  AudioCodec codec;
  Collected collected;
  connect(codec, collected);
  AudioCodecSettings settings;
  settings.format = AudioCodecSettings::Format::opus;
  codec.setSettings(settings);
  codec.startRunning();
  feedSine(codec, 0.1, 512, 1.0);
  EXPECT_TRUE(collected.samples.empty());
  ASSERT_EQ(collected.logs.size(), 1u);
  EXPECT_NE(collected.logs[0].find("not supported"), std::string::npos);

  settings.format = AudioCodecSettings::Format::aac;
  settings.channelMap = std::vector<int>{1};
  codec.setSettings(settings);
  feedSine(codec, 0.1, 512, 2.0);
  ASSERT_FALSE(collected.samples.empty());
  EXPECT_EQ(collected.samples.front().format->channels, 1);
  EXPECT_EQ(audioSpecificConfig(*collected.samples.front().format), (std::array<std::uint8_t, 2>{0x11, 0x88}));

  codec.stopRunning();
  collected.samples.clear();
  feedSine(codec, 0.1, 512, 3.0);
  EXPECT_TRUE(collected.samples.empty());
}

}  // namespace
}  // namespace tavorin

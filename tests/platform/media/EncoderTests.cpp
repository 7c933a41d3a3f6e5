#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "platform/media/AudioEncoder.h"
#include "platform/media/HardwareEncoders.h"
#include "platform/media/SharedEncoders.h"
#include "platform/media/VideoEncoder.h"

namespace tavorin {
namespace {

constexpr double kStart = 1000.0;

FrameRef frameAt(int index, int width = 320, int height = 180) {
  auto frame = PixelBuffer::make(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      std::uint8_t* p = frame->row(y) + 4 * x;
      p[0] = static_cast<std::uint8_t>(x + index * 7);
      p[1] = static_cast<std::uint8_t>(y * 3 + index);
      p[2] = static_cast<std::uint8_t>((x ^ y) + index * 5);
      p[3] = 255;
    }
  }
  frame->setHostTime(kStart + index / 30.0);
  return frame;
}

VideoEncoding smallEncoding() {
  VideoEncoding encoding;
  encoding.width = 320;
  encoding.height = 180;
  encoding.bitRate = 500'000;
  encoding.keyFrameIntervalSeconds = 1;
  encoding.preferHardware = false;
  return encoding;
}

// Every sample of `frames` frames, fed in order and flushed at the end.
std::vector<EncodedVideoSample> encodeAll(VideoEncoder& encoder, int frames, int forcedKeyAt = -1) {
  std::vector<EncodedVideoSample> samples;
  EncodedVideoSample sample;
  EncoderError error;
  for (int i = 0; i < frames; ++i) {
    EXPECT_EQ(encoder.send(*frameAt(i), i == forcedKeyAt), EncoderError::none);
    while (encoder.receive(sample, error)) samples.push_back(sample);
  }
  EXPECT_EQ(encoder.flush(), EncoderError::none);
  while (encoder.receive(sample, error)) samples.push_back(sample);
  EXPECT_EQ(error, EncoderError::none);
  return samples;
}

int frameIndex(double pts) { return static_cast<int>(std::lround((pts - kStart) * 30)); }

TEST(VideoEncoder, ProfilesReorderingAndKeyFrames) {
  struct Case {
    VideoProfile profile;
    int bFrames;
    std::uint8_t profileIDC;
  };
  for (const Case c : {Case{VideoProfile::baseline, 0, 66}, Case{VideoProfile::main, 2, 77},
                       Case{VideoProfile::high, 2, 100}}) {
    auto encoding = smallEncoding();
    encoding.profile = c.profile;
    encoding.bFrames = c.bFrames;
    EncoderError error;
    auto encoder = VideoEncoder::open(encoding, HardwareEncoders{}, error);
    ASSERT_TRUE(encoder) << describe(error);
    EXPECT_EQ(encoder->encoderName(), "libx264");
    ASSERT_GT(encoder->format()->configurationRecord.size(), 4u);
    EXPECT_EQ(encoder->format()->configurationRecord[1], c.profileIDC);
    const auto samples = encodeAll(*encoder, 75, 40);
    ASSERT_EQ(samples.size(), 75u) << "every frame comes out, time stamps in host seconds";
    std::vector<int> keys;
    bool reordered = false;
    for (const auto& sample : samples) {
      if (sample.isKeyFrame) keys.push_back(frameIndex(sample.pts));
      reordered = reordered || sample.pts != sample.dts;
      EXPECT_EQ(sample.format, encoder->format());
    }
    EXPECT_EQ(reordered, c.bFrames > 0);
    // Where a receiver asked for one, and never more than a second after the last.
    EXPECT_EQ(keys, (std::vector<int>{0, 30, 40, 70})) << static_cast<int>(c.profile);
  }
}

TEST(VideoEncoder, KeyFramesComeByTimeWhateverTheFramesCount) {
  // Half the frames missing: a count of 30 frames would put key frames two seconds apart.
  EncoderError error;
  auto encoder = VideoEncoder::open(smallEncoding(), HardwareEncoders{}, error);
  ASSERT_TRUE(encoder);
  std::vector<int> keys;
  EncodedVideoSample sample;
  for (int i = 0; i <= 92; i += 2) {
    ASSERT_EQ(encoder->send(*frameAt(i)), EncoderError::none);
    while (encoder->receive(sample, error)) {
      if (sample.isKeyFrame) keys.push_back(frameIndex(sample.pts));
    }
  }
  encoder->flush();
  while (encoder->receive(sample, error)) {
    if (sample.isKeyFrame) keys.push_back(frameIndex(sample.pts));
  }
  EXPECT_EQ(keys, (std::vector<int>{0, 30, 60, 90}));
}

TEST(VideoEncoder, FitsOtherShapesAndRefusesOddSizes) {
  for (const FrameFit fit : {FrameFit::stretch, FrameFit::letterbox, FrameFit::trim}) {
    auto encoding = smallEncoding();
    encoding.fit = fit;
    EncoderError error;
    auto encoder = VideoEncoder::open(encoding, HardwareEncoders{}, error);
    ASSERT_TRUE(encoder);
    // A portrait source into a landscape encode, and a wider one.
    EXPECT_EQ(encoder->send(*frameAt(0, 180, 320)), EncoderError::none);
    EXPECT_EQ(encoder->send(*frameAt(1, 640, 180)), EncoderError::none);
  }
  auto odd = smallEncoding();
  odd.width = 321;
  EncoderError error;
  EXPECT_FALSE(VideoEncoder::open(odd, HardwareEncoders{}, error));
  EXPECT_EQ(error, EncoderError::invalidSize);
}

TEST(HardwareEncoders, CandidatesPutWorkingHardwareFirstAndSoftwareLast) {
  HardwareEncoders found;
  found.nvencH264 = true;
  found.vaapiH264 = true;
  found.vaapiHevc = true;
  using Names = std::vector<std::string>;
  EXPECT_EQ(found.candidates(VideoCodecKind::h264, true), (Names{"h264_nvenc", "h264_vaapi", "libx264"}));
  EXPECT_EQ(found.candidates(VideoCodecKind::h264, false), (Names{"libx264"}));
  EXPECT_EQ(found.candidates(VideoCodecKind::hevc, true), (Names{"hevc_vaapi", "libx264"}));
  EXPECT_EQ(HardwareEncoders{}.candidates(VideoCodecKind::hevc, true), (Names{"libx264"}));
  EXPECT_EQ(found.candidates(VideoCodecKind::proRes422, true), (Names{"prores_ks"}));
  // A render node that is not there: no VAAPI, and the probe says so rather than failing.
  const auto probed = probeHardwareEncoders("/nonexistent/renderD128");
  EXPECT_FALSE(probed.vaapiH264 || probed.vaapiHevc);
  EXPECT_TRUE(probed.renderNode.empty());
}

// A subscriber's view of one shared encoder.
struct Received {
  std::mutex lock;
  std::vector<EncodedVideoSampleRef> samples;
  SharedEncoders::VideoReceiver receiver() {
    return [this](const EncodedVideoSampleRef& sample) {
      std::lock_guard hold(lock);
      samples.push_back(sample);
    };
  }
};

void feedFrames(SharedEncoders& encoders, int from, int to) {
  for (int i = from; i < to; ++i) {
    encoders.feedVideo("main", frameAt(i));
    // The encoder's queue holds three frames; a real clock is no faster than this.
    std::this_thread::sleep_for(std::chrono::milliseconds(15));
  }
}

TEST(SharedEncoders, OneEncoderPerEncodingLateJoinersStartAtAKeyFrameTheLastGetsTheTail) {
  std::vector<std::string> log;
  SharedEncoders encoders(HardwareEncoders{}, [&](const std::string& line) { log.push_back(line); });
  auto hardware = smallEncoding();
  hardware.preferHardware = true;
  Received first, second, other;
  EncoderError error;
  auto a = encoders.subscribeVideo("main", hardware, first.receiver(), error);
  ASSERT_TRUE(a.active());
  EXPECT_EQ(a.encoderName(), "libx264");
  EXPECT_EQ(log, (std::vector<std::string>{"No hardware H.264 encoder works here: using software H.264 (libx264)"}));
  feedFrames(encoders, 0, 10);
  auto b = encoders.subscribeVideo("main", hardware, second.receiver(), error);
  auto slower = hardware;
  slower.bitRate = 250'000;
  auto c = encoders.subscribeVideo("main", slower, other.receiver(), error);
  EXPECT_EQ(encoders.videoEncoderCount(), 2);
  EXPECT_EQ(log.size(), 2u) << "one line per encoder opened, none for a receiver joining";
  feedFrames(encoders, 10, 20);
  b.reset();
  c.reset();
  a.reset();
  EXPECT_EQ(encoders.videoEncoderCount(), 0);
  ASSERT_FALSE(second.samples.empty());
  // The next key frame out of the encoder: one still held back when it joined, or the one forced for it.
  EXPECT_TRUE(second.samples.front()->isKeyFrame) << "a late receiver starts at a key frame";
  EXPECT_EQ(first.samples.size(), 20u) << "the last receiver to leave gets every frame, the held-back ones too";
  // The late joiner's samples are the first receiver's, the same objects.
  const auto join = std::find(first.samples.begin(), first.samples.end(), second.samples.front());
  ASSERT_NE(join, first.samples.end());
  EXPECT_TRUE(std::equal(second.samples.begin(), second.samples.end(), join));
}

// The compositor hands an unchanged picture on again, stamped anew: each
// offer is encoded at the time it had when it was offered. One stamped a
// little late, as a tick drawn late is, does not cost the next one on time.
TEST(SharedEncoders, AStillPictureHandedOnAgainIsEncodedAtEachTime) {
  SharedEncoders encoders;
  Received received;
  EncoderError error;
  auto subscription = encoders.subscribeVideo("main", smallEncoding(), received.receiver(), error);
  auto still = PixelBuffer::make(320, 180);
  still->fill(20, 40, 60, 255);
  for (int i = 0; i < 12; ++i) {
    still->setHostTime(kStart + i / 30.0 + (i == 4 ? 0.006 : 0));
    encoders.feedVideo("main", still);
    // Three at a time fill the encoder's queue with the one buffer, restamped.
    if (i % 3 == 2) std::this_thread::sleep_for(std::chrono::milliseconds(60));
  }
  subscription.reset();
  std::vector<int> frames;
  for (const auto& sample : received.samples) frames.push_back(frameIndex(sample->pts));
  std::sort(frames.begin(), frames.end());
  EXPECT_EQ(frames, (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
}

TEST(AudioEncoder, PacketsOf1024AtTheInputsTimeAndRefusedFormats) {
  struct Case {
    int inputRate, channels, wantedRate;
    int outputRate, outputChannels;
  };
  for (const Case c : {Case{48000, 2, 0, 48000, 2}, Case{44100, 1, 48000, 48000, 1}, Case{48000, 6, 0, 48000, 2}}) {
    EncoderError error;
    AudioEncoding encoding;
    encoding.sampleRate = c.wantedRate;
    auto encoder = AudioEncoder::open(encoding, c.inputRate, c.channels, error);
    ASSERT_TRUE(encoder) << describe(error);
    EXPECT_EQ(encoder->format()->sampleRate, c.outputRate);
    EXPECT_EQ(encoder->format()->channels, c.outputChannels);
    // Blocks of an odd size, one second in all.
    AudioBlock block(c.channels, 441);
    std::vector<EncodedAudioSample> packets;
    EncodedAudioSample packet;
    for (int sent = 0; sent < c.inputRate; sent += 441) {
      for (int ch = 0; ch < c.channels; ++ch) {
        for (int i = 0; i < 441; ++i) block.plane(ch)[i] = 0.2f * std::sin(0.05f * static_cast<float>(sent + i));
      }
      block.stamp(441, c.inputRate, kStart + static_cast<double>(sent) / c.inputRate);
      ASSERT_EQ(encoder->send(block), EncoderError::none);
      while (encoder->receive(packet, error)) packets.push_back(packet);
    }
    ASSERT_GE(packets.size(), 40u);
    EXPECT_DOUBLE_EQ(packets.front().pts, kStart);
    for (std::size_t i = 1; i < packets.size(); ++i) {
      EXPECT_NEAR(packets[i].pts - packets[i - 1].pts, 1024.0 / c.outputRate, 1e-9);
    }
  }
  EncoderError error;
  EXPECT_FALSE(AudioEncoder::open(AudioEncoding{}, 0, 2, error));
  EXPECT_FALSE(AudioEncoder::open(AudioEncoding{}, 12345, 2, error));
  EXPECT_EQ(error, EncoderError::unsupportedFormat);
}

// Blocks are placed by their stamps: a gap is filled with silence, an
// overlap dropped, a few milliseconds of jitter left alone; packet times stay
// one packet apart, so the sound after a gap plays at its own time.
TEST(AudioEncoder, BlocksArePlacedByTheirStampsNotTheirCount) {
  struct Case {
    double jump;  // seconds between where the count and the stamp put the second half
    int packets;  // 1024-frame packets out of the whole
  };
  // One second of blocks is 46 packets out (the encoder holds one back); a
  // gap adds its length, an overlap takes away what lies beyond 10 ms.
  for (const Case c : {Case{0.100, 50}, Case{-0.050, 44}, Case{0.005, 45}}) {
    EncoderError error;
    auto encoder = AudioEncoder::open(AudioEncoding{}, 48000, 2, error);
    ASSERT_TRUE(encoder);
    AudioBlock block(2, 480);
    std::vector<EncodedAudioSample> packets;
    EncodedAudioSample packet;
    for (int i = 0; i < 100; ++i) {
      block.stamp(480, 48000, kStart + i * 0.010 + (i >= 50 ? c.jump : 0.0));
      ASSERT_EQ(encoder->send(block), EncoderError::none);
      while (encoder->receive(packet, error)) packets.push_back(packet);
    }
    EXPECT_EQ(static_cast<int>(packets.size()), c.packets) << c.jump;
    for (std::size_t i = 1; i < packets.size(); ++i) {
      ASSERT_NEAR(packets[i].pts - packets[i - 1].pts, 1024.0 / 48000, 1e-9) << c.jump;
    }
  }
}

}  // namespace
}  // namespace tavorin

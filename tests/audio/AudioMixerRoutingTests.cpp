#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "audio/AudioConverter.h"
#include "audio/AudioMixerEngine.h"
#include "support/ManualMainQueue.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

PcmBuffer constant(float value, std::uint32_t frames = 8192) {
  PcmBuffer buffer = PcmBuffer::make(2, frames);
  for (auto& plane : buffer.planes) std::fill(plane.begin(), plane.end(), value);
  return buffer;
}

// The value a bus settles on: the first pull leaves buffering and fades in, the second is steady.
float settled(AudioBus& bus) {
  std::vector<float> left(1024), right(1024);
  bus.render(left.data(), right.data(), 1024);
  bus.render(left.data(), right.data(), 1024);
  return left[512];
}

class MixerRouting : public ::testing::Test {
 protected:
  MixerRouting() { reopen(); }
  void reopen() {
    mixer.reset();
    mixer = std::make_unique<AudioMixerEngine>(queue, settings, nullptr, dir / "audio.log");
    mixer->onSettingsChanged = [this](const MixerSettings& changed) { settings = changed; };
  }
  void feed(const std::string& id, float value) { mixer->processor(id)->ingest(constant(value)); }

  testing::TempDir dir;
  testing::ManualMainQueue queue;
  MixerSettings settings;
  std::unique_ptr<AudioMixerEngine> mixer;
};

TEST_F(MixerRouting, FadersAirAndCuesDecideWhatEachBusCarries) {
  mixer->addSourceChannel("a", "A", "mic", false, std::nullopt);
  mixer->addSourceChannel("b", "B", "mic", false, std::nullopt);
  mixer->setLevel("a", 0.5f);
  mixer->setMonitor("a", false);
  feed("a", 0.2f);
  feed("b", 0.1f);
  AudioBus& monitor = *mixer->monitorBus(AudioMixerEngine::kHeadphonesID);
  EXPECT_NEAR(settled(mixer->programBus()), 0.5f * 0.2f + 0.1f, 1e-6);  // each gain once
  EXPECT_NEAR(settled(monitor), 0.1f, 1e-6);

  // A cue takes the monitors over, whatever the monitor flags say; Program stays.
  mixer->setCue("a", true);
  EXPECT_EQ(mixer->monitorLabel(), "soloing A");
  feed("a", 0.2f);
  feed("b", 0.1f);
  EXPECT_NEAR(settled(monitor), 0.1f, 1e-6);
  EXPECT_NEAR(settled(mixer->programBus()), 0.2f, 1e-6);
  mixer->clearCues();
  EXPECT_EQ(mixer->monitorLabel(), "monitor mix");

  mixer->setAir("b", false);
  feed("a", 0.2f);
  feed("b", 0.1f);
  EXPECT_NEAR(settled(mixer->programBus()), 0.1f, 1e-6);
}

TEST_F(MixerRouting, MasterGainActsOnTheDeviceButNotOnTheSinks) {
  mixer->addSourceChannel("a", "A", "mic", false, std::nullopt);
  std::mutex lock;
  std::condition_variable arrived;
  std::vector<float> delivered;
  mixer->setProgramAudioSink([&](const PcmBuffer& block, double) {
    std::lock_guard guard(lock);
    delivered.insert(delivered.end(), block.planes[0].begin(), block.planes[0].end());
    arrived.notify_all();
  });
  mixer->setProgramMasterGain(0);
  feed("a", 0.3f);
  EXPECT_FLOAT_EQ(settled(mixer->programBus()), 0.0f);
  std::unique_lock guard(lock);
  ASSERT_TRUE(arrived.wait_for(guard, std::chrono::seconds(2), [&] { return delivered.size() >= 2048; }));
  EXPECT_NEAR(delivered[1024 + 512], 0.3f, 1e-6);
}

TEST_F(MixerRouting, AudioFollowsVideoOnlyForChannelsWithAVideoSource) {
  mixer->addSourceChannel("ndiaudio:cam", "Cam (NDI)", "network", true, "ndi:cam");
  mixer->addSourceChannel("mic", "Mic", "mic", true, std::nullopt);
  mixer->followProgram({"ndi:cam"});
  EXPECT_TRUE(mixer->channels.get()[0].air);
  mixer->followProgram({"image:bars"});
  EXPECT_FALSE(mixer->channels.get()[0].air);
  EXPECT_TRUE(mixer->channels.get()[1].air) << "afv without a video source changes nothing";
  feed("ndiaudio:cam", 0.4f);
  feed("mic", 0.1f);
  EXPECT_NEAR(settled(mixer->programBus()), 0.1f, 1e-6);
}

TEST_F(MixerRouting, RoutingOrderAndMonitorsSurviveARestartButCuesDoNot) {
  ASSERT_EQ(mixer->monitors->size(), 1u);
  EXPECT_EQ(mixer->monitors.get()[0].id, AudioMixerEngine::kHeadphonesID) << "with nothing stored";
  EXPECT_FALSE(mixer->monitors.get()[0].removable);
  mixer->addSourceChannel("a", "A", "mic", false, std::nullopt);
  mixer->addSourceChannel("b", "B", "mic", false, std::nullopt);
  mixer->setLevel("a", 1.5f);
  mixer->setCue("a", true);
  mixer->renameChannel("a", "  Host  ");
  mixer->moveChannel("b", "a");
  const std::string extra = mixer->addMonitor("Stage");
  mixer->setMonitorGain(extra, 0.25f);
  mixer->removeMonitor(AudioMixerEngine::kHeadphonesID);  // removable while another bus exists
  EXPECT_EQ(mixer->monitors->size(), 1u);
  mixer->removeMonitor(extra);  // the last bus stays
  EXPECT_EQ(mixer->monitors->size(), 1u);

  reopen();
  mixer->addSourceChannel("a", "A", "mic", false, std::nullopt);
  mixer->addSourceChannel("b", "B", "mic", false, std::nullopt);
  ASSERT_EQ(mixer->channels->size(), 2u);
  EXPECT_EQ(mixer->channels.get()[0].id, "b");
  const ChannelInfo& a = mixer->channels.get()[1];
  EXPECT_EQ(a.name, "Host");
  EXPECT_FLOAT_EQ(a.level, 1.5f);
  EXPECT_FALSE(a.cue);
  ASSERT_EQ(mixer->monitors->size(), 1u);
  EXPECT_EQ(mixer->monitors.get()[0].name, "Stage");
  EXPECT_FLOAT_EQ(mixer->monitors.get()[0].gain, 0.25f);
  EXPECT_TRUE(mixer->monitors.get()[0].removable);
}

TEST_F(MixerRouting, ChannelFiltersRunBeforeTheBusesAndAreRestored) {
  mixer->addSourceChannel("a", "A", "mic", false, std::nullopt);
  const auto id = mixer->addFilter(AudioFilterKind::compressor, "a");
  ASSERT_TRUE(id);
  mixer->setFilterParam("ratio", 1, *id, "a");        // no compression,
  mixer->setFilterParam("makeupDb", 6.0206, *id, "a");  // only its make-up gain: twice the level
  feed("a", 0.1f);
  EXPECT_NEAR(settled(mixer->programBus()), 0.2f, 1e-3);

  reopen();
  mixer->addSourceChannel("a", "A", "mic", false, std::nullopt);
  ASSERT_EQ(mixer->channelFilters->at("a").size(), 1u);
  feed("a", 0.1f);
  EXPECT_NEAR(settled(mixer->programBus()), 0.2f, 1e-3);
  mixer->setFilterEnabled(false, *id, "a");
  mixer->restartAudio();  // empties the rings of what was filtered before
  feed("a", 0.1f);
  EXPECT_NEAR(settled(mixer->programBus()), 0.1f, 1e-6);
  mixer->removeFilter(*id, "a");
  EXPECT_TRUE(mixer->channelFilters->at("a").empty());
}

TEST_F(MixerRouting, HealthCountsEachFeedsUnderruns) {
  mixer->addSourceChannel("a", "A", "mic", false, std::nullopt);
  feed("a", 0.1f);  // 8192 frames
  std::vector<float> left(4096), right(4096);
  for (int i = 0; i < 3; ++i) mixer->programBus().render(left.data(), right.data(), 4096);
  for (int i = 0; i < 15; ++i) mixer->meterTick();
  ASSERT_EQ(mixer->audioHealth->size(), 1u);
  EXPECT_EQ(mixer->audioHealth.get()[0].underruns, 1);
  EXPECT_EQ(mixer->audioHealth.get()[0].bufferMS, 8192 * 1000 / 48000) << "the monitor feed still holds all";
  EXPECT_GT(mixer->meters->inputs.at("a"), 0.0f);
}

TEST(AudioConverterTest, MonoAt44kBecomesStereoAt48kAtTheSameLevel) {
  AudioConverter converter(PcmFormat{44100, 1, PcmSampleFormat::s16});
  std::vector<std::int16_t> tone(44100);
  for (std::size_t i = 0; i < tone.size(); ++i) {
    tone[i] = static_cast<std::int16_t>(16384 * std::sin(2 * M_PI * 1000 * static_cast<double>(i) / 44100));
  }
  const void* planes[] = {tone.data()};
  auto out = converter.convert(planes, static_cast<std::uint32_t>(tone.size()));
  ASSERT_TRUE(out);
  EXPECT_NEAR(out->frameLength, 48000u, 64u);
  double sum = 0;
  for (std::uint32_t i = 4800; i < out->frameLength - 4800; ++i) sum += out->planes[0][i] * out->planes[0][i];
  const double rms = std::sqrt(sum / (out->frameLength - 9600));
  EXPECT_NEAR(20 * std::log10(rms / (0.5 / std::sqrt(2.0))), 0.0, 0.1);
  EXPECT_EQ(out->planes[0], out->planes[1]);
}

}  // namespace
}  // namespace tavorin

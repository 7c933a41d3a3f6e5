#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "audio/AudioMixerEngine.h"
#include "platform/media/AudioConverter.h"
#include "support/ChildProcess.h"
#include "support/ManualMainQueue.h"
#include "support/ProgramMixProbe.h"
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
  ChannelInfo channel(const std::string& id) const {
    for (const ChannelInfo& c : mixer->channels.get()) {
      if (c.id == id) return c;
    }
    return {};
  }

  testing::TempDir dir;
  testing::ManualMainQueue queue;
  MixerSettings settings;
  std::unique_ptr<AudioMixerEngine> mixer;
};

TEST_F(MixerRouting, FadersAirCuesAndMonitorVolumeDecideWhatEachBusCarries) {
  mixer->addSourceChannel("a", "A", "mic", false, std::nullopt);
  mixer->addSourceChannel("b", "B", "mic", false, std::nullopt);
  AudioBus& monitor = *mixer->monitorBus(AudioMixerEngine::kHeadphonesID);
  const std::string headphones = AudioMixerEngine::kHeadphonesID;
  struct Step {
    const char* what;
    std::function<void()> change;
    float program, monitor;
    const char* label;
  };
  // a plays 0.2 and b 0.3 each time; each gain acts once.
  const Step steps[] = {
      {"a at half, off the monitors", [&] { mixer->setLevel("a", 0.5f); mixer->setMonitor("a", false); }, 0.4f, 0.3f,
       "monitor mix"},
      {"a cued: the cue takes the monitors over", [&] { mixer->setCue("a", true); }, 0.4f, 0.1f, "soloing A"},
      {"cues cleared, b off air", [&] { mixer->clearCues(); mixer->setAir("b", false); }, 0.1f, 0.3f, "monitor mix"},
      {"monitor at half", [&] { mixer->setMonitorGain(headphones, 0.5f); }, 0.1f, 0.15f, "monitor mix"},
      {"monitor muted", [&] { mixer->setMonitorMuted(headphones, true); }, 0.1f, 0.0f, "monitor mix"},
      {"monitor unmuted", [&] { mixer->setMonitorMuted(headphones, false); }, 0.1f, 0.15f, "monitor mix"},
  };
  for (const Step& step : steps) {
    step.change();
    feed("a", 0.2f);
    feed("b", 0.3f);
    EXPECT_NEAR(settled(mixer->programBus()), step.program, 1e-6) << step.what;
    EXPECT_NEAR(settled(monitor), step.monitor, 1e-6) << step.what;
    EXPECT_EQ(mixer->monitorLabel(), step.label) << step.what;
  }
}

TEST_F(MixerRouting, MasterGainActsOnTheDeviceAloneAndMuteOnTheSinksToo) {
  mixer->addSourceChannel("a", "A", "mic", false, std::nullopt);
  testing::ProgramMixProbe probe(*mixer, "a");
  struct Step {
    const char* what;
    std::function<void()> change;
    float device, sinks;
  };
  const Step steps[] = {
      {"master gain 0: the room is quiet, recordings are not", [&] { mixer->setProgramMasterGain(0); }, 0.0f, 0.3f},
      {"muted: off air everywhere", [&] { mixer->setProgramMasterGain(1); mixer->setProgramMuted(true); }, 0.0f, 0.0f},
      {"unmuted", [&] { mixer->setProgramMuted(false); }, 0.3f, 0.3f},
  };
  for (const Step& step : steps) {
    step.change();
    const auto heard = probe.play(0.3f);
    EXPECT_NEAR(heard.device, step.device, 1e-6) << step.what;
    EXPECT_NEAR(heard.sinks, step.sinks, 1e-6) << step.what;
  }
}

TEST_F(MixerRouting, AudioFollowsVideoOnlyForChannelsWithAVideoSource) {
  mixer->addSourceChannel("ndiaudio:cam", "Cam (NDI)", "network", true, "ndi:cam");
  mixer->addSourceChannel("mic", "Mic", "mic", true, std::nullopt);
  mixer->followProgram({"ndi:cam"});
  EXPECT_TRUE(channel("ndiaudio:cam").air);
  mixer->followProgram({"image:bars"});
  EXPECT_FALSE(channel("ndiaudio:cam").air);
  EXPECT_TRUE(channel("mic").air) << "afv without a video source changes nothing";
  feed("ndiaudio:cam", 0.4f);
  feed("mic", 0.1f);
  EXPECT_NEAR(settled(mixer->programBus()), 0.1f, 1e-6);
}

TEST_F(MixerRouting, RoutingOrderAndMonitorsSurviveARestartButCuesDoNot) {
  using Monitors = std::vector<MonitorInfo>;
  EXPECT_EQ(mixer->monitors.get(), (Monitors{{.id = AudioMixerEngine::kHeadphonesID, .name = "Headphones",
                                              .removable = false}}))
      << "with nothing stored";
  mixer->addSourceChannel("a", "A", "mic", false, std::nullopt);
  mixer->addSourceChannel("b", "B", "mic", false, std::nullopt);
  mixer->setLevel("a", 1.5f);
  mixer->setCue("a", true);
  mixer->renameChannel("a", "  Host  ");
  mixer->moveChannel("b", "a");
  const std::string extra = mixer->addMonitor("New");
  mixer->renameMonitor(extra, "  Stage ");
  mixer->setMonitorGain(extra, 0.25f);
  mixer->removeMonitor(AudioMixerEngine::kHeadphonesID);  // removable while another bus exists
  mixer->removeMonitor(extra);                             // the last bus stays
  const Monitors kept{{.id = extra, .name = "Stage", .gain = 0.25f}};
  EXPECT_EQ(mixer->monitors.get(), kept);

  reopen();
  mixer->addSourceChannel("a", "A", "mic", false, std::nullopt);
  mixer->addSourceChannel("b", "B", "mic", false, std::nullopt);
  EXPECT_EQ(mixer->channels.get(), (std::vector<ChannelInfo>{{.id = AudioMixerEngine::kSFXChannelID,
                                                              .name = "Sound FX",
                                                              .level = 0.9f,
                                                              .removable = false,
                                                              .icon = "music.note"},
                                                             {.id = "b", .name = "B", .icon = "mic"},
                                                             {.id = "a", .name = "Host", .level = 1.5f, .icon = "mic"}}));
  EXPECT_EQ(mixer->monitors.get(), kept);
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
  // A gate added after it runs first once moved to the front; moves past the ends do nothing.
  const auto gate = mixer->addFilter(AudioFilterKind::gate, "a");
  mixer->moveFilter(1, 0, "a");
  mixer->moveFilter(0, 5, "a");
  ASSERT_EQ(mixer->channelFilters->at("a").size(), 2u);
  EXPECT_EQ(mixer->channelFilters->at("a")[0].id, *gate);
  mixer->removeFilter(*gate, "a");
  mixer->removeFilter(*id, "a");
  EXPECT_TRUE(mixer->channelFilters->at("a").empty());
}

TEST_F(MixerRouting, MetersFollowTheFaderAndHealthCountsEachFeedsUnderruns) {
  mixer->addSourceChannel("a", "A", "mic", false, std::nullopt);
  mixer->setLevel("a", 0.5f);
  feed("a", 0.1f);  // 8192 frames
  mixer->meterTick();
  EXPECT_NEAR(mixer->meters->inputs.at("a"), meterLevel(constant(0.1f)) * 0.5f, 1e-6);
  std::vector<float> left(4096), right(4096);
  for (int i = 0; i < 3; ++i) mixer->programBus().render(left.data(), right.data(), 4096);
  for (int i = 0; i < 14; ++i) mixer->meterTick();
  ASSERT_EQ(mixer->audioHealth->size(), 2u) << "the effects channel and a";
  EXPECT_EQ(mixer->audioHealth.get()[1].underruns, 1);
  EXPECT_EQ(mixer->audioHealth.get()[1].bufferMS, 8192 * 1000 / 48000) << "the monitor feed still holds all";
}

TEST_F(MixerRouting, SoundEffectsPlayOnEveryBusThroughTheirFaderUntilTheyEndOrStop) {
  // A quarter second of 0.5 at 24 kHz mono: the channel brings it to 48 kHz stereo.
  const auto file = dir / "half.wav";
  ASSERT_EQ(testing::runProcess({testing::findProgram("ffmpeg", "ffmpeg"), "-v", "error", "-nostdin", "-y", "-f",
                                 "lavfi", "-i", "aevalsrc=0.5:s=24000:d=0.25", "-ac", "1", file},
                                dir / "ffmpeg.log"),
            0);
  AudioBus& monitor = *mixer->monitorBus(AudioMixerEngine::kHeadphonesID);
  const struct {
    float gain;
    float heard;  // the file's 0.5, the call's gain, the fader's 0.9
  } plays[] = {{1.0f, 0.45f}, {0.5f, 0.225f}};
  for (const auto& play : plays) {
    ASSERT_TRUE(mixer->playSFX(file, play.gain, 0, 0));
    EXPECT_TRUE(mixer->sfxPlaying.get());
    EXPECT_NEAR(settled(mixer->programBus()), play.heard, 2e-3);
    EXPECT_NEAR(settled(monitor), play.heard, 2e-3);
    mixer->meterTick();
    EXPECT_GT(mixer->meters->inputs.at(AudioMixerEngine::kSFXChannelID), 0.5f) << "the meter reads the clip's position";
  }
  mixer->stopSFX();
  EXPECT_FALSE(mixer->sfxPlaying.get());
  EXPECT_NEAR(settled(mixer->programBus()), 0.0f, 1e-6);

  ASSERT_TRUE(mixer->playSFX(file, 1.0f, 0.1, 0.1));
  std::vector<float> left(12000), right(12000);
  mixer->programBus().render(left.data(), right.data(), 12000);
  EXPECT_NEAR(left[2400], 0.45f * 0.5f, 0.01f) << "halfway into the fade-in";
  EXPECT_NEAR(left[7200], 0.45f, 0.01f);
  queue.advance(0.3);
  mixer->meterTick();
  EXPECT_FALSE(mixer->sfxPlaying.get()) << "past the clip's end";

  EXPECT_FALSE(mixer->playSFX(dir / "missing.wav", 1.0f, 0, 0));
  mixer->removeChannel(AudioMixerEngine::kSFXChannelID);
  EXPECT_EQ(channel(AudioMixerEngine::kSFXChannelID).name, "Sound FX") << "never removed";
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

// The mixer on a real (private) PipeWire: a tone played into a virtual
// microphone crosses a channel to the Program tap and to the devices of the
// buses it is routed to; a device that goes away mid-run is rebuilt around.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <mutex>
#include <thread>

#include "audio/AudioMixerEngine.h"
#include "audio/PipeWireAudioBackend.h"
#include "support/ManualMainQueue.h"
#include "peers/PrivatePipeWire.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

constexpr double kToneAmplitude = 0.5;

double dbOff(double rms) { return 20 * std::log10(rms / (kToneAmplitude / std::sqrt(2.0))); }

double rmsOf(const std::vector<float>& samples, std::size_t from = 0) {
  if (samples.size() <= from) return 0;
  double sum = 0;
  for (std::size_t i = from; i < samples.size(); ++i) sum += static_cast<double>(samples[i]) * samples[i];
  return std::sqrt(sum / static_cast<double>(samples.size() - from));
}

class MixerOnPipeWire : public ::testing::Test {
 protected:
  void SetUp() override {
    pipewire.addSource("mic_in", "Test microphone");
    pipewire.addSink("program_out", "Program speakers");
    pipewire.addSink("monitor_out", "Monitor headphones");
    std::string error;
    backend = makePipeWireAudioBackend(queue, &error);
    ASSERT_TRUE(backend) << error;
    mixer = std::make_unique<AudioMixerEngine>(queue, settings, backend.get(), dir / "audio.log");
    mixer->setProgramAudioSink([this](const AudioBlockRef& block) {
      std::lock_guard guard(lock);
      tap.insert(tap.end(), block->plane(0), block->plane(0) + block->frameCount());
      stamps.push_back({block->hostTime(), static_cast<double>(block->frameCount()) / block->sampleRate()});
    });
  }
  void TearDown() override {
    mixer.reset();
    backend.reset();
  }

  // Runs the main queue in step with the wall clock.
  void pump(double seconds) {
    for (double t = 0; t < seconds; t += 0.02) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      queue.advance(0.02);
    }
  }
  std::optional<AudioOutputDevice> output(const std::string& uid) { return backend->outputWithUID(uid); }
  // The level of the last second that reached the Program tap, against the tone's.
  double tapDb() {
    std::lock_guard guard(lock);
    return dbOff(rmsOf(std::vector<float>(tap.end() - std::min<std::size_t>(tap.size(), 48000), tap.end())));
  }
  // The level of a second recorded from a sink's monitor, past its first 200 ms.
  double playedDb(const std::string& sink) { return dbOff(rmsOf(pipewire.recordFrom(sink, 1.0, true), 9600)); }
  std::size_t tapFrames() {
    std::lock_guard guard(lock);
    return tap.size();
  }
  std::size_t tapBlocks() {
    std::lock_guard guard(lock);
    return stamps.size();
  }
  // How far the Program mix's capture times stray from one block to the
  // next, from block `from` on: a rebuilt Program bus starts them over.
  double largestStampJump(std::size_t from) {
    std::lock_guard guard(lock);
    double largest = 0;
    for (std::size_t i = std::max<std::size_t>(from, 1); i < stamps.size(); ++i) {
      largest = std::max(largest, std::fabs(stamps[i].first - (stamps[i - 1].first + stamps[i - 1].second)));
    }
    return largest;
  }

  testing::PrivatePipeWire pipewire;
  testing::TempDir dir;
  testing::ManualMainQueue queue;
  MixerSettings settings;
  std::unique_ptr<AudioBackend> backend;
  std::unique_ptr<AudioMixerEngine> mixer;
  std::mutex lock;
  std::vector<float> tap;
  std::vector<std::pair<double, double>> stamps;  // each tap block's capture time and length
};

TEST_F(MixerOnPipeWire, ToneReachesTheProgramTapAtItsLevelAndAMonitorOnlyWhenRouted) {
  ASSERT_TRUE(mixer->addDeviceChannel({"mic_in", "Test microphone"}));
  mixer->setProgramOutput(output("program_out"));
  mixer->setMonitorDevice(AudioMixerEngine::kHeadphonesID, output("monitor_out"));
  ASSERT_TRUE(mixer->programBus().running());
  auto tone = pipewire.playTone("mic_in", 1000, 30, kToneAmplitude);
  pump(1.5);
  EXPECT_NEAR(tapDb(), 0.0, 0.5);
  EXPECT_NEAR(playedDb("monitor_out"), 0.0, 0.5);
  mixer->setProgramMasterGain(0.5f);  // the Program device plays after the master gain
  pump(0.2);
  EXPECT_NEAR(playedDb("program_out"), -6.02, 0.5);
  EXPECT_NEAR(tapDb(), 0.0, 0.5) << "the tap is before the master gain";

  mixer->setMonitor("mic_in", false);
  pump(0.2);
  EXPECT_LT(playedDb("monitor_out"), dbOff(1e-4)) << "not routed: nothing on the monitor";
  EXPECT_NEAR(tapDb(), 0.0, 0.5) << "Program is unchanged";

  mixer->setLevel("mic_in", 0.5f);
  pump(1.5);
  EXPECT_NEAR(tapDb(), -6.02, 0.5);
}

TEST_F(MixerOnPipeWire, VanishedMonitorDeviceIsRebuiltAroundAndProgramPlaysOn) {
  ASSERT_TRUE(mixer->addDeviceChannel({"mic_in", "Test microphone"}));
  mixer->setProgramOutput(output("program_out"));
  mixer->setMonitorDevice(AudioMixerEngine::kHeadphonesID, output("monitor_out"));
  auto tone = pipewire.playTone("mic_in", 1000, 30, kToneAmplitude);
  pump(1.0);
  const std::size_t blocksBefore = tapBlocks();
  pipewire.remove("monitor_out");
  pump(2.0);
  EXPECT_FALSE(mixer->monitors.get()[0].connected);
  EXPECT_FALSE(mixer->monitorBus(AudioMixerEngine::kHeadphonesID)->running());
  EXPECT_TRUE(mixer->programBus().running());
  const std::size_t before = tapFrames();
  pump(1.0);
  EXPECT_GT(tapFrames() - before, 40000u) << "Program still flows after the rebuild";
  EXPECT_NEAR(tapDb(), 0.0, 0.5);

  // The device comes back under the same name: the bus takes it again by itself.
  pipewire.addSink("monitor_out", "Monitor headphones");
  pump(2.0);
  EXPECT_TRUE(mixer->monitors.get()[0].connected);
  EXPECT_TRUE(mixer->monitorBus(AudioMixerEngine::kHeadphonesID)->running());
  // Neither change touched Program: its mix ran on without a gap.
  EXPECT_LT(largestStampJump(blocksBefore), 0.005);
}

TEST_F(MixerOnPipeWire, InputThatGoesAwayIsOfflineAndComesBack) {
  ASSERT_TRUE(mixer->addDeviceChannel({"mic_in", "Test microphone"}));
  mixer->setProgramOutput(output("program_out"));
  // The mixer hears of the device list from its own registry, a little after the script's.
  auto pumpUntil = [this](auto&& done) {
    for (int i = 0; i < 150 && !done(); ++i) pump(0.02);
    return done();
  };
  pipewire.remove("mic_in");
  EXPECT_TRUE(pumpUntil([this] { return mixer->offlineChannels->contains("mic_in"); }));
  pipewire.addSource("mic_in", "Test microphone");
  EXPECT_TRUE(pumpUntil([this] { return !mixer->offlineChannels->contains("mic_in"); }));
  auto tone = pipewire.playTone("mic_in", 1000, 30, kToneAmplitude);
  pump(1.5);
  EXPECT_NEAR(tapDb(), 0.0, 0.5);
}

}  // namespace
}  // namespace tavorin

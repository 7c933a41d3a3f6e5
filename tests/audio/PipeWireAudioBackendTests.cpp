// The audio service on a real (private) PipeWire with WirePlumber: the three
// virtual devices, the default output, applications' sound by filter, and the
// feed into the virtual microphone.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <mutex>
#include <nlohmann/json.hpp>
#include <numbers>
#include <ostream>
#include <thread>

#include "audio/PipeWireAudioBackend.h"
#include "peers/PrivatePipeWire.h"
#include "support/ManualMainQueue.h"
#include "support/WaitFor.h"

namespace tavorin {
namespace {

using testing::waitFor;

}  // namespace

void PrintTo(const AudioApplication& app, std::ostream* out) { *out << app.id << " \"" << app.name << '"'; }

namespace {

constexpr double kRate = 48000;
constexpr float kAmplitude = 0.5f;

// The amplitude of the `hz` component of a signal at 48 kHz; exact for whole cycles.
double amplitudeAt(const std::vector<float>& samples, double hz) {
  double re = 0;
  double im = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double phase = 2 * std::numbers::pi * hz * static_cast<double>(i) / kRate;
    re += samples[i] * std::cos(phase);
    im += samples[i] * std::sin(phase);
  }
  return samples.empty() ? 0 : 2 * std::hypot(re, im) / static_cast<double>(samples.size());
}

// The last half second of the left channel of interleaved stereo.
std::vector<float> lastHalfSecond(const std::vector<float>& interleaved) {
  std::vector<float> left;
  for (std::size_t i = 0; i + 1 < interleaved.size(); i += 2) left.push_back(interleaved[i]);
  const std::size_t keep = std::min<std::size_t>(left.size(), static_cast<std::size_t>(kRate / 2));
  return {left.end() - static_cast<std::ptrdiff_t>(keep), left.end()};
}

AudioRender sine(double hz) {
  return [hz, phase = 0.0](float* left, float* right, std::uint32_t frames) mutable {
    for (std::uint32_t i = 0; i < frames; ++i) {
      left[i] = right[i] = kAmplitude * static_cast<float>(std::sin(phase));
      phase = std::fmod(phase + 2 * std::numbers::pi * hz / kRate, 2 * std::numbers::pi);
    }
  };
}

// The left channel of what a capture delivers.
class Heard {
 public:
  AudioDeliver deliver() {
    return [this](const PcmFormat& format, const void* const* planes, std::uint32_t frames, double) {
      if (format.sampleFormat != PcmSampleFormat::f32 && !format.planar()) return;
      std::lock_guard guard(lock_);
      rate_ = format.sampleRate;
      const auto* samples = static_cast<const float*>(planes[0]);
      for (std::uint32_t i = 0; i < frames; ++i) left_.push_back(samples[format.planar() ? i : i * format.channels]);
    };
  }
  std::vector<float> lastHalfSecond() {
    std::lock_guard guard(lock_);
    EXPECT_EQ(rate_, kRate);
    const std::size_t keep = std::min<std::size_t>(left_.size(), static_cast<std::size_t>(kRate / 2));
    return {left_.end() - static_cast<std::ptrdiff_t>(keep), left_.end()};
  }

 private:
  std::mutex lock_;
  std::vector<float> left_;
  int rate_ = 0;
};

struct NodeSeen {
  std::string name;
  std::string description;
  std::string mediaClass;
  friend auto operator<=>(const NodeSeen&, const NodeSeen&) = default;
  friend void PrintTo(const NodeSeen& node, std::ostream* out) {
    *out << node.name << " \"" << node.description << "\" " << node.mediaClass;
  }
};

class PipeWireBackend : public ::testing::Test {
 protected:
  void SetUp() override {
    pipewire.addSink("speakers", "Speakers");
    connect();
  }
  void connect() {
    std::string error;
    backend = makePipeWireAudioBackend(queue, &error);
    ASSERT_TRUE(backend) << error;
  }
  // Every node in the graph, as pw-dump shows it.
  std::vector<NodeSeen> nodesSeen() {
    std::vector<NodeSeen> seen;
    for (const auto& object : nlohmann::json::parse(pipewire.toolOutput("pw-dump"))) {
      if (object.value("type", "") != "PipeWire:Interface:Node") continue;
      const auto& props = object["info"]["props"];
      seen.push_back({props.value("node.name", ""), props.value("node.description", ""),
                      props.value("media.class", "")});
    }
    std::sort(seen.begin(), seen.end());
    return seen;
  }
  std::vector<NodeSeen> virtualDevicesSeen() {
    auto seen = nodesSeen();
    std::erase_if(seen, [](const NodeSeen& node) { return !node.name.starts_with("Tavorin"); });
    return seen;
  }
  std::vector<std::string> outputNames() {
    std::vector<std::string> names;
    for (const auto& device : backend->outputDevices()) names.push_back(device.uid);
    return names;
  }
  std::vector<std::string> inputNames() {
    std::vector<std::string> names;
    for (const auto& device : backend->inputDevices()) names.push_back(device.id);
    return names;
  }
  void install() {
    std::string error;
    ASSERT_TRUE(backend->installVirtualDevices(&error)) << error;
  }

  testing::PrivatePipeWire pipewire;
  testing::ManualMainQueue queue;
  std::unique_ptr<AudioBackend> backend;
  const std::vector<NodeSeen> threeDevices{{kVirtualMicUID, "Tavorin Mic", "Audio/Source/Virtual"},
                                           {kVirtualSpeakerUID, "Tavorin Speaker", "Audio/Sink"},
                                           {kVirtualSystemUID, "Tavorin System", "Audio/Sink"}};
};

TEST_F(PipeWireBackend, VirtualDevicesInstallWholeOutliveUsComeBackWithPipeWireAndUninstall) {
  pipewire.addSink("silent", "No channels", "audio.channels=0");
  int notifications = 0;
  backend->onDevicesChanged = [&] { ++notifications; };
  const auto fragment = std::filesystem::path(std::getenv("XDG_CONFIG_HOME")) / "pipewire" / "pipewire.conf.d" /
                        "tavorin-devices.conf";
  install();
  queue.runUntilIdle();
  EXPECT_EQ(notifications, 1) << "three nodes and their ports make one burst";
  EXPECT_EQ(virtualDevicesSeen(), threeDevices);
  EXPECT_TRUE(backend->virtualDevicesPresent());
  EXPECT_TRUE(std::filesystem::exists(fragment));
  EXPECT_EQ(outputNames(), (std::vector<std::string>{"speakers", kVirtualSpeakerUID, kVirtualSystemUID}))
      << "no sink without channels, no source";
  EXPECT_EQ(inputNames(), (std::vector<std::string>{kVirtualSpeakerUID, kVirtualSystemUID}))
      << "our sinks are inputs through their monitors; the microphone we feed is not";

  pipewire.remove(kVirtualSpeakerUID);
  EXPECT_TRUE(waitFor([&] { return !backend->virtualDevicesPresent(); }));
  install();
  EXPECT_EQ(virtualDevicesSeen(), threeDevices) << "an install replaces all three";

  backend.reset();
  connect();
  EXPECT_TRUE(backend->virtualDevicesPresent()) << "the devices linger after we disconnect";
  backend.reset();
  pipewire.restart();
  connect();
  EXPECT_TRUE(backend->virtualDevicesPresent()) << "PipeWire makes them again from the fragment";
  EXPECT_EQ(virtualDevicesSeen(), threeDevices);

  std::string error;
  ASSERT_TRUE(backend->uninstallVirtualDevices(&error)) << error;
  EXPECT_FALSE(backend->virtualDevicesPresent());
  EXPECT_TRUE(virtualDevicesSeen().empty());
  EXPECT_FALSE(std::filesystem::exists(fragment));
}

TEST_F(PipeWireBackend, DefaultOutputIsSetAsTheDesktopSetsItAndApplicationsFollow) {
  install();
  std::string error;
  ASSERT_TRUE(backend->setDefaultOutput(kVirtualSystemUID, &error)) << error;
  const std::string metadata = pipewire.toolOutput("pw-metadata", {"0"});
  EXPECT_NE(metadata.find("key:'default.configured.audio.sink' value:'{\"name\":\"TavorinSystem_UID\"}'"),
            std::string::npos)
      << metadata;
  EXPECT_TRUE(waitFor([&] { return backend->defaultOutputUID() == kVirtualSystemUID; }));

  auto player = pipewire.playAsApplication("application.name=Player", 440, 20, kAmplitude);
  const auto played = lastHalfSecond(pipewire.recordFrom(kVirtualSystemUID, 1.5, true));
  EXPECT_NEAR(amplitudeAt(played, 440), kAmplitude, 0.02) << "a player with no target plays into Tavorin System";

  EXPECT_FALSE(backend->setDefaultOutput("no-such-device", &error));
}

TEST_F(PipeWireBackend, ApplicationCaptureHearsApplicationsAsFilteredAndNeverUs) {
  auto own = backend->makeOutput(*backend->outputWithUID("speakers"), "Tavorin own tone", sine(2500));
  std::string error;
  ASSERT_TRUE(own->start(&error)) << error;
  Heard all;
  Heard one;
  auto allButExcluded = backend->makeApplicationCapture({std::nullopt, {"org.test.Excluded"}}, "Tavorin all",
                                                        all.deliver());
  auto onlyExcluded = backend->makeApplicationCapture({"org.test.Excluded", {}}, "Tavorin one", one.deliver());
  ASSERT_TRUE(allButExcluded->start(&error)) << error;
  ASSERT_TRUE(onlyExcluded->start(&error)) << error;

  // Started after the captures: their streams are picked up as they come.
  auto heard = pipewire.playAsApplication("application.id=org.test.Heard application.name=Heard", 440, 20, kAmplitude);
  auto excluded =
      pipewire.playAsApplication("application.id=org.test.Excluded application.name=Excluded", 1000, 20, kAmplitude);
  std::this_thread::sleep_for(std::chrono::milliseconds(1500));

  const auto fromAll = all.lastHalfSecond();
  EXPECT_NEAR(amplitudeAt(fromAll, 440), kAmplitude, 0.02);
  EXPECT_LT(amplitudeAt(fromAll, 1000), 0.002) << "excluded";
  EXPECT_LT(amplitudeAt(fromAll, 2500), 0.002) << "our own tone";
  const auto fromOne = one.lastHalfSecond();
  EXPECT_NEAR(amplitudeAt(fromOne, 1000), kAmplitude, 0.02);
  EXPECT_LT(amplitudeAt(fromOne, 440), 0.002) << "another application";
  EXPECT_LT(amplitudeAt(fromOne, 2500), 0.002) << "our own tone";

  auto apps = backend->audioApplications();
  std::sort(apps.begin(), apps.end(), [](const auto& a, const auto& b) { return a.id < b.id; });
  EXPECT_EQ(apps, (std::vector<AudioApplication>{{"org.test.Excluded", "Excluded"}, {"org.test.Heard", "Heard"}}));
  EXPECT_EQ(outputNames(), std::vector<std::string>{"speakers"}) << "capture sinks are ours alone";
  EXPECT_EQ(backend->defaultOutputUID(), "speakers");

  allButExcluded->stop();
  onlyExcluded->stop();
  for (const NodeSeen& node : nodesSeen()) {
    EXPECT_FALSE(node.name.starts_with("tavorin_capture_")) << "the capture sink goes with its port";
    EXPECT_NE(node.mediaClass, "Stream/Input/Audio") << node.name;
  }
}

TEST_F(PipeWireBackend, SourceFeedReachesRecordersOfTheVirtualMicAgainWhenItComesBack) {
  install();
  auto feed = backend->makeSourceFeed(kVirtualMicUID, "Tavorin Mic Feed", sine(700));
  std::string error;
  ASSERT_TRUE(feed->start(&error)) << error;
  auto recorded = [&] { return amplitudeAt(lastHalfSecond(pipewire.recordFrom(kVirtualMicUID, 1.5, false)), 700); };
  EXPECT_NEAR(recorded(), kAmplitude, 0.02);

  pipewire.remove(kVirtualMicUID);
  pipewire.addSource(kVirtualMicUID, "Tavorin Mic");
  EXPECT_NEAR(recorded(), kAmplitude, 0.02) << "relinked into the new node";
}

}  // namespace
}  // namespace tavorin

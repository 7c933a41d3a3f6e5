#include "platform/pipewire/PipeWireRegistry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <atomic>

#include "platform/pipewire/PipeWireLoop.h"
#include "peers/PrivatePipeWire.h"
#include "support/ScopedEnvironment.h"
#include "support/WaitFor.h"

namespace tavorin {
namespace {

using testing::PrivatePipeWire;
using testing::ScopedEnvironment;
using testing::waitFor;

TEST(PipeWireRegistry, ListsDevicesWithDescriptionsAndDefaultsAndSeesThemGo) {
  PrivatePipeWire pipewire;
  pipewire.addSink("tavorin-test-speakers", "Test Speakers");
  pipewire.addSource("tavorin-test-mic", "Test Mic");
  pipewire.addSink("tavorin-test-silent", "", "audio.channels=0");

  PipeWireLoop loop;
  EXPECT_TRUE(loop.connected());
  std::atomic<int> changes{0};
  PipeWireRegistry registry(loop, [&] { ++changes; });
  ASSERT_TRUE(registry.waitUntilSynced());

  const auto speakers = registry.nodeNamed("tavorin-test-speakers");
  ASSERT_TRUE(speakers);
  EXPECT_EQ(speakers->description, "Test Speakers");
  EXPECT_EQ(speakers->mediaClass, "Audio/Sink");
  EXPECT_TRUE(speakers->isOutput());
  EXPECT_FALSE(speakers->isInput());
  EXPECT_EQ(speakers->channels, -1) << "a node that does not say";
  EXPECT_EQ(registry.nodeNamed("tavorin-test-silent")->channels, 0);
  EXPECT_NE(speakers->serial, registry.nodeNamed("tavorin-test-silent")->serial);
  // Its playback ports, in channel order; the monitor's are left out.
  EXPECT_TRUE(waitFor([&] { return registry.graph().portsOf(speakers->id, false).size() == 2; }));
  const auto inputs = registry.graph().portsOf(speakers->id, false);
  ASSERT_EQ(inputs.size(), 2u);
  EXPECT_EQ(inputs[0].channel, "FL");
  EXPECT_EQ(inputs[1].channel, "FR");
  const auto mic = registry.nodeNamed("tavorin-test-mic");
  ASSERT_TRUE(mic);
  EXPECT_EQ(mic->description, "Test Mic");
  EXPECT_EQ(mic->mediaClass, "Audio/Source/Virtual");
  EXPECT_TRUE(mic->isInput());
  EXPECT_FALSE(mic->isOutput());
  // Drivers and streams are not devices.
  for (const auto& node : registry.nodes()) EXPECT_TRUE(node.isInput() || node.isOutput()) << node.name;

  // WirePlumber makes the only sink and source the defaults.
  EXPECT_TRUE(waitFor([&] { return registry.defaultSinkName() == "tavorin-test-speakers"; }));
  EXPECT_TRUE(waitFor([&] { return registry.defaultSourceName() == "tavorin-test-mic"; }));

  const int before = changes.load();
  pipewire.addSink("tavorin-test-headphones");
  EXPECT_TRUE(waitFor([&] { return registry.nodeNamed("tavorin-test-headphones").has_value(); }));
  pipewire.remove("tavorin-test-mic");
  EXPECT_TRUE(waitFor([&] { return !registry.nodeNamed("tavorin-test-mic"); }));
  EXPECT_GE(changes.load(), before + 2);
  EXPECT_TRUE(registry.nodeNamed("tavorin-test-speakers"));
}

TEST(PipeWireRegistry, NamesApplicationsByLinuxAppIDFromTheirStreamOrClient) {
  struct Case {
    std::string properties;
    std::string appID;
    std::string appName;
  };
  const Case cases[] = {
      {"pipewire.access.portal.app_id=org.example.Sandboxed application.id=org.example.Ignored "
       "application.name=Sandboxed",
       "org.example.Sandboxed", "Sandboxed"},
      {"application.id=org.example.Player application.name=\"Example Player\"", "org.example.Player",
       "Example Player"},
      // Without an id of its own the stream's client names the executable: pw-play is pw-cat.
      {"application.name=Unnamed", "pw-cat", "Unnamed"},
      {"application.process.binary=/opt/tool/toolbin application.name=Tool", "toolbin", "Tool"},
  };
  PrivatePipeWire pipewire;
  pipewire.addSink("tavorin-test-speakers");
  std::vector<std::unique_ptr<testing::TonePlayer>> players;
  for (const Case& c : cases) players.push_back(pipewire.playAsApplication(c.properties, 440, 10, 0.1));

  PipeWireLoop loop;
  PipeWireRegistry registry(loop, [] {});
  ASSERT_TRUE(registry.waitUntilSynced());
  for (std::size_t i = 0; i < players.size(); ++i) {
    const auto streams = registry.streams();
    auto stream = std::find_if(streams.begin(), streams.end(),
                               [&](const AudioStreamInfo& s) { return s.nodeName == players[i]->nodeName(); });
    ASSERT_NE(stream, streams.end()) << cases[i].properties;
    EXPECT_EQ(stream->appID, cases[i].appID) << cases[i].properties;
    EXPECT_EQ(stream->appName, cases[i].appName) << cases[i].properties;
    EXPECT_GT(stream->processID, 0);
    EXPECT_NE(stream->processID, ::getpid());
  }
  players.pop_back();
  EXPECT_TRUE(waitFor([&] { return registry.streams().size() == players.size(); }));
}

TEST(PipeWireLoop, WithoutADaemonThrowsAFailureNamingTheSocket) {
  testing::TempDir empty;
  ScopedEnvironment environment;
  environment.set("XDG_RUNTIME_DIR", empty.path().string());
  environment.set("PIPEWIRE_RUNTIME_DIR", std::nullopt);
  environment.set("PIPEWIRE_REMOTE", std::nullopt);
  try {
    PipeWireLoop loop;
    FAIL() << "connected without a daemon";
  } catch (const PipeWireFailure& failure) {
    EXPECT_THAT(failure.what(), ::testing::StartsWith("PipeWire is not running: "));
    EXPECT_THAT(failure.what(), ::testing::HasSubstr((empty.path() / "pipewire-0").string()));
  }
}

}  // namespace
}  // namespace tavorin

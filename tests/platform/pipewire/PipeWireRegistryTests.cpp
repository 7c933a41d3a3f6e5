#include "platform/pipewire/PipeWireRegistry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

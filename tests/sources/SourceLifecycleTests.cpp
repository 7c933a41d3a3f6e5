#include "sources/SourceLifecycle.h"

#include <gtest/gtest.h>

#include "base/PixelBuffer.h"
#include "sources/StaticSource.h"
#include "support/FakeSource.h"
#include "support/ManualMainQueue.h"

namespace tavorin {
namespace {

using testing::FakeSource;

class SourceLifecycleTest : public ::testing::Test {
 protected:
  SourceLifecycleTest() {
    lifecycle.wallClock = [this] { return queue.now(); };
    lifecycle.start();
  }

  std::shared_ptr<FakeSource> add(const std::string& id, bool screenLike = false) {
    auto source = std::make_shared<FakeSource>(id, screenLike);
    lifecycle.addSource(source);
    return source;
  }

  // A scene change as the owner reports it: the source is in use, and the lifecycle looks again.
  void use(const std::string& sourceID) {
    used.insert(sourceID);
    lifecycle.scheduleReconcile();
    queue.runUntilIdle();
  }

  testing::ManualMainQueue queue;
  FrameSlotMap map;
  std::set<std::string> used;
  std::vector<std::string> log;
  SourceLifecycle lifecycle{queue, map, [this] { return used; }, [this](std::string line) { log.push_back(line); }};
};

TEST_F(SourceLifecycleTest, FailedStartIsLoggedAtAddAndRetriedSilentlyOnWake) {
  auto camera = std::make_shared<FakeSource>("camera:x");
  camera->failWith = "device busy";
  lifecycle.addSource(camera);
  EXPECT_EQ(log, std::vector<std::string>{"Failed to start Cam: device busy"});
  EXPECT_EQ(map.snapshot()->at("camera:x"), camera->frameSlot()) << "the source stays";
  EXPECT_TRUE(lifecycle.startingIDs.empty());

  auto clip = add("clip:a");
  auto screen = add("display:1", true);
  screen->stop();
  use("camera:x");
  use("clip:a");
  use("display:1");
  EXPECT_EQ(camera->starts, 4) << "each scene change wakes it again";
  EXPECT_EQ(log.size(), 1u);
  EXPECT_EQ(clip->resumes, 2) << "a running source is resumed";
  EXPECT_EQ(screen->restarts, 1) << "a stopped capture is woken by its own restart";
  EXPECT_EQ(screen->starts, 1);
}

TEST_F(SourceLifecycleTest, SweepParksSourcesUnusedForSixSecondsAndNeverLiveOnes) {
  auto idle = add("camera:idle");
  auto live = add("camera:live");
  auto awake = add("camera:studio");
  auto rehearsal = add("camera:rehearsal");
  auto neverStarted = std::make_shared<FakeSource>("camera:running");
  neverStarted->markRunning();  // start() is skipped, so it has no lastLiveAt entry
  lifecycle.addSource(neverStarted);
  lifecycle.addSource(std::make_shared<StaticSource>("image:1", "Logo", PixelBuffer::make(2, 2)));
  use("camera:live");
  lifecycle.studioWakeIDs = {"camera:studio"};

  queue.advance(5);
  EXPECT_EQ(neverStarted->parks, 1) << "no entry: parked at the first sweep";
  EXPECT_EQ(idle->parks, 0) << "seen 5 s ago";
  queue.advance(5);
  EXPECT_EQ(idle->parks, 1);
  EXPECT_EQ(rehearsal->parks, 1);
  queue.advance(60);
  EXPECT_EQ(live->parks + awake->parks, 0);

  EXPECT_TRUE(lifecycle.isParked("camera:idle"));
  EXPECT_FALSE(lifecycle.isParked("camera:live"));
  EXPECT_FALSE(lifecycle.isParked("image:1")) << "a still is never shown as parked";
  EXPECT_FALSE(lifecycle.isParked("camera:unknown"));
  used.insert("camera:idle");
  EXPECT_FALSE(lifecycle.isParked("camera:idle"));
}

TEST_F(SourceLifecycleTest, RestartIsLoggedAndShieldsTheSourceFromTheSweep) {
  auto camera = add("camera:x");
  auto screen = add("display:1", true);
  queue.advance(10);
  ASSERT_EQ(camera->parks, 1);

  lifecycle.restartSource("camera:x");
  EXPECT_EQ(log.back(), "Restarting “Cam”…");
  EXPECT_EQ(camera->stops, 1);
  EXPECT_EQ(camera->starts, 2);
  queue.advance(30);
  EXPECT_EQ(camera->parks, 1) << "shielded for 30 s though nothing uses it";
  queue.advance(10);
  EXPECT_EQ(camera->parks, 2);

  lifecycle.restartSource("display:1");
  EXPECT_EQ(screen->restarts, 1);
  EXPECT_EQ(screen->stops, 0) << "a capture that restarts itself is not stopped";
}

TEST_F(SourceLifecycleTest, StallCheckRestartsASilentCaptureAtEveryCheckOnceItHasDelivered) {
  double silence = 0;
  lifecycle.wallClock = [&] { return wallClockNow() + silence; };
  auto neverDelivered = add("display:1", true);
  auto silent = add("display:2", true);
  silent->publish(PixelBuffer::make(2, 2));

  silence = 31;
  queue.advance(20);
  EXPECT_EQ(log, (std::vector<std::string>(2, "“Cam” stalled — restarting the capture.")));
  EXPECT_EQ(silent->restarts, 2);
  EXPECT_EQ(neverDelivered->restarts, 0);

  silent->publish(PixelBuffer::make(2, 2));
  silence = 0;
  queue.advance(10);
  silence = 31;
  silent->stop();
  queue.advance(10);
  EXPECT_EQ(silent->restarts, 2) << "fresh frames, then a stopped capture: nothing to restart";
}

TEST_F(SourceLifecycleTest, DeletingWhileStartingLeavesNoTraceAndStopsTheLateStart) {
  auto first = std::make_shared<FakeSource>("camera:x");
  first->holdStart = true;
  lifecycle.addSource(first);
  ASSERT_TRUE(lifecycle.startingIDs.contains("camera:x"));
  lifecycle.removeSource("camera:x");
  EXPECT_TRUE(lifecycle.startingIDs.empty());
  EXPECT_FALSE(map.contains("camera:x"));

  auto second = std::make_shared<FakeSource>("camera:x");
  second->holdStart = true;
  lifecycle.addSource(second);
  first->finishStart();
  EXPECT_TRUE(lifecycle.startingIDs.contains("camera:x")) << "the old start does not end the new one";
  EXPECT_FALSE(first->isRunning()) << "a start that lands after deletion is stopped";
}

}  // namespace
}  // namespace tavorin

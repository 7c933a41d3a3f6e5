#include "platform/loop/GLibMainQueue.h"

#include <gtest/gtest.h>

#include <csignal>
#include <thread>
#include <vector>

#include "base/Debouncer.h"

namespace tavorin {
namespace {

// Each test stops the loop itself; a watchdog keeps a broken timer from hanging the suite.
TimerHandle watchdog(GLibMainQueue& queue) {
  return queue.after(5.0, [&queue] {
    ADD_FAILURE() << "main loop did not finish in time";
    queue.quit();
  });
}

TEST(GLibMainQueue, PostedTasksRunInOrderIncludingFromOtherThreads) {
  GLibMainQueue queue;
  auto guard = watchdog(queue);
  std::vector<int> order;
  const auto mainThread = std::this_thread::get_id();
  bool ranOnMain = true;
  queue.post([&] { order.push_back(1); });
  queue.post([&] { order.push_back(2); });
  std::thread worker([&] {
    queue.post([&] {
      ranOnMain = std::this_thread::get_id() == mainThread;
      order.push_back(3);
      queue.quit();
    });
  });
  worker.join();
  queue.run();
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
  EXPECT_TRUE(ranOnMain);
}

TEST(GLibMainQueue, CancelledTimerNeverRunsAndRepeatingTimerRepeats) {
  GLibMainQueue queue;
  auto guard = watchdog(queue);
  bool cancelledRan = false;
  int ticks = 0;
  auto cancelled = queue.after(0.02, [&] { cancelledRan = true; });
  cancelled.cancel();
  TimerHandle repeating = queue.every(0.01, [&] {
    if (++ticks == 3) {
      repeating.cancel();
      // Let a would-be late firing of the cancelled one-shot show up before stopping.
      auto stop = std::make_shared<TimerHandle>();
      *stop = queue.after(0.05, [&queue, stop] { queue.quit(); });
    }
  });
  queue.run();
  EXPECT_FALSE(cancelledRan);
  EXPECT_EQ(ticks, 3);
}

TEST(GLibMainQueue, OneShotRunsNoEarlierThanItsDelay) {
  GLibMainQueue queue;
  auto guard = watchdog(queue);
  const double start = queue.now();
  double firedAt = 0;
  auto timer = queue.after(0.05, [&] {
    firedAt = queue.now();
    queue.quit();
  });
  queue.run();
  EXPECT_GE(firedAt - start, 0.049);
}

TEST(GLibMainQueue, SignalHandlerRunsOnTheLoop) {
  GLibMainQueue queue;
  auto guard = watchdog(queue);
  bool handled = false;
  queue.onSignal(SIGHUP, [&] {
    handled = true;
    queue.quit();
  });
  queue.post([] { std::raise(SIGHUP); });
  queue.run();
  EXPECT_TRUE(handled);
}

TEST(GLibMainQueue, DebouncerOnRealLoopRunsOnceAfterQuietPeriod) {
  GLibMainQueue queue;
  auto guard = watchdog(queue);
  int runs = 0;
  Debouncer debouncer(queue, 0.03, [&] { ++runs; });
  int triggers = 0;
  TimerHandle burst = queue.every(0.005, [&] {
    debouncer.trigger();
    if (++triggers == 5) burst.cancel();
  });
  auto stop = queue.after(0.25, [&] { queue.quit(); });
  queue.run();
  EXPECT_EQ(runs, 1);
}

}  // namespace
}  // namespace tavorin

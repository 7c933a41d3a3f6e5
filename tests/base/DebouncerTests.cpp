#include "base/Debouncer.h"

#include <gtest/gtest.h>

#include "support/ManualMainQueue.h"

namespace tavorin {
namespace {

TEST(Debouncer, RunsOnceDelayAfterTheLastTrigger) {
  testing::ManualMainQueue queue;
  int runs = 0;
  Debouncer debouncer(queue, 0.5, [&] { ++runs; });
  debouncer.trigger();
  queue.advance(0.4);
  debouncer.trigger();  // restarts the wait
  queue.advance(0.4);
  EXPECT_EQ(runs, 0);
  queue.advance(0.11);
  EXPECT_EQ(runs, 1);
  EXPECT_FALSE(debouncer.pending());
  queue.advance(5);
  EXPECT_EQ(runs, 1);
}

TEST(Debouncer, FlushRunsPendingActionNowAndOnlyOnce) {
  testing::ManualMainQueue queue;
  int runs = 0;
  Debouncer debouncer(queue, 0.2, [&] { ++runs; });
  debouncer.flush();
  EXPECT_EQ(runs, 0) << "nothing pending, nothing to flush";
  debouncer.trigger();
  debouncer.flush();
  EXPECT_EQ(runs, 1);
  queue.advance(1);
  EXPECT_EQ(runs, 1);
}

TEST(Debouncer, CancelDropsThePendingAction) {
  testing::ManualMainQueue queue;
  int runs = 0;
  Debouncer debouncer(queue, 0.2, [&] { ++runs; });
  debouncer.trigger();
  debouncer.cancel();
  queue.advance(1);
  EXPECT_EQ(runs, 0);
}

}  // namespace
}  // namespace tavorin

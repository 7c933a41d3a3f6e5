#include <gtest/gtest.h>

#include "base/AudioBlock.h"
#include "support/AllocationCounter.h"

namespace tavorin {
namespace {

TEST(AudioBlockPool, ABlockComesBackOnlyOnceEverySinkLetsGoAndReuseAllocatesNothing) {
  AudioBlockPool pool(2, 1024, 1, 1);
  auto block = pool.acquire();
  ASSERT_TRUE(block);
  const AudioBlock* only = block.get();
  AudioBlockRef recorder = block, stream = block;
  block.reset();
  EXPECT_FALSE(pool.acquire()) << "held by two sinks";
  recorder.reset();
  EXPECT_FALSE(pool.acquire()) << "still held by one";
  stream.reset();
  EXPECT_EQ(pool.acquire().get(), only);

  int reused = 0;
  {
    testing::AllocationCounter counter;
    for (int i = 0; i < 100; ++i) {
      AudioBlockRef held = pool.acquire();
      reused += held.get() == only;
    }
    EXPECT_EQ(counter.count(), 0u);
  }
  EXPECT_EQ(reused, 100);
  EXPECT_EQ(pool.blockCount(), 1u);
}

}  // namespace
}  // namespace tavorin

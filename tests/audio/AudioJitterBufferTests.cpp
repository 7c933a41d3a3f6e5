#include "audio/AudioLiveFeed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/AllocationCounter.h"

namespace tavorin {
namespace {

// A ring with the live feed's sizes.
AudioJitterBuffer ring() {
  return AudioJitterBuffer(AudioLiveFeed::kCapacity, AudioLiveFeed::kTargetFrames, AudioLiveFeed::kHighWaterFrames);
}

// Frames whose left sample is `value` and right sample `-value`.
void fill(AudioJitterBuffer& r, std::uint32_t frames, float value = 1.0f) {
  std::vector<float> left(frames, value), right(frames, -value);
  r.write(left.data(), right.data(), frames);
}

struct Output {
  explicit Output(std::uint32_t frames) : left(frames, 9.0f), right(frames, 9.0f) {}
  bool read(AudioJitterBuffer& r, float gain = 1.0f) {
    return r.read(left.data(), right.data(), static_cast<std::uint32_t>(left.size()), gain);
  }
  std::vector<float> left, right;
};

TEST(AudioJitterBuffer, BuffersToTheTargetThenFadesIn) {
  auto r = ring();
  fill(r, 3071);
  Output out(512);
  EXPECT_FALSE(out.read(r));
  EXPECT_EQ(out.left, std::vector<float>(512, 0.0f));
  EXPECT_EQ(r.fill(), 3071) << "nothing is consumed while buffering";
  fill(r, 1);
  EXPECT_TRUE(out.read(r));
  EXPECT_FALSE(r.buffering());
  EXPECT_FLOAT_EQ(out.left[0], 0.0f);  // the first frame played is multiplied by 0
  EXPECT_NEAR(out.left[1], 1.0f / 240, 1e-6);
  EXPECT_NEAR(out.right[239], -239.0f / 240, 1e-6);
  EXPECT_FLOAT_EQ(out.left[240], 1.0f);
  EXPECT_EQ(r.fill(), 3072 - 512);
}

// What is read out knows when it was captured, however long it waited in
// the ring: the mix is stamped with when the sound happened, not when it played.
TEST(AudioJitterBuffer, ReadsCarryTheCaptureTimeOfTheirFirstFrame) {
  auto r = ring();
  std::vector<float> block(1024, 0.5f);
  for (int i = 0; i < 3; ++i) r.write(block.data(), block.data(), 1024, 100.0 + i * 1024.0 / 48000);
  Output out(480);
  ASSERT_TRUE(out.read(r));
  EXPECT_NEAR(r.lastReadTime(), 100.0, 1e-9);
  ASSERT_TRUE(out.read(r));
  EXPECT_NEAR(r.lastReadTime(), 100.0 + 480.0 / 48000, 1e-9);
  auto unstamped = ring();
  fill(unstamped, 3072);
  EXPECT_TRUE(out.read(unstamped));
  EXPECT_LT(unstamped.lastReadTime(), 0) << "no capture time given, none made up";
}

// A capture clock 0.1 % off the reader's, for ten simulated minutes through
// the real ring: the fill stays at the target, with no trim and no underrun.
TEST(AudioJitterBuffer, DriftIsHeldAtTheTarget) {
  for (const double skew : {1.001, 0.999}) {
    auto r = ring();
    std::vector<float> block(480, 0.25f);
    Output out(512);
    const double writeEvery = 480.0 / (48000 * skew);
    const double readEvery = 512.0 / 48000;
    double nextWrite = 0, nextRead = 0;
    double worst = 0;
    while (nextRead < 600) {
      if (nextWrite <= nextRead) {
        r.write(block.data(), block.data(), 480);
        nextWrite += writeEvery;
        continue;
      }
      out.read(r);
      nextRead += readEvery;
      // After the control has settled, the fill between blocks stays near the target.
      if (nextRead > 60) worst = std::max(worst, std::abs(static_cast<double>(r.fill()) - 3072 + 256) / 48);
    }
    EXPECT_LE(worst, 10 + 1000.0 * 480 / 48000) << "ms from the target, beyond a block's sawtooth; skew " << skew;
    EXPECT_EQ(r.trims(), 0) << skew;
    EXPECT_EQ(r.underruns(), 0) << skew;
    EXPECT_NEAR(r.readRate(), skew, 0.0005) << "the reader follows the writer's clock";
  }
}

TEST(AudioJitterBuffer, UnderrunsFadeOutZeroFillAndCountOnce) {
  auto r = ring();
  fill(r, 3072);
  Output warm(2972);
  ASSERT_TRUE(warm.read(r));
  ASSERT_EQ(r.fill(), 100);
  Output out(512);
  EXPECT_TRUE(out.read(r));
  EXPECT_FLOAT_EQ(out.left[0], 99.0f / 100);
  EXPECT_FLOAT_EQ(out.left[98], 1.0f / 100);
  EXPECT_FLOAT_EQ(out.left[99], 0.0f);
  EXPECT_EQ(std::vector<float>(out.right.begin() + 100, out.right.end()), std::vector<float>(412, 0.0f));
  EXPECT_EQ(r.underruns(), 1);
  EXPECT_TRUE(r.buffering());
  // Exactly frameCount available: plays everything and stays playing; the next one underruns silent.
  auto exact = ring();
  fill(exact, 3072);
  Output all(3072);
  EXPECT_TRUE(all.read(exact));
  EXPECT_FALSE(exact.buffering());
  Output dry(64);
  EXPECT_FALSE(dry.read(exact));
  EXPECT_EQ(dry.left, std::vector<float>(64, 0.0f));
  EXPECT_EQ(exact.underruns(), 1);
}

TEST(AudioJitterBuffer, HighWaterTrimsBackToTheTarget) {
  auto r = ring();
  fill(r, 16384);
  Output out(256);
  out.read(r);
  EXPECT_EQ(r.trims(), 0);
  EXPECT_EQ(r.fill(), 16384 - 256);
  fill(r, 257);  // 16385 now
  out.read(r);
  EXPECT_EQ(r.trims(), 1);
  EXPECT_EQ(r.fill(), 3072 - 256);  // 13313 dropped, then the render took its share
  EXPECT_FLOAT_EQ(out.left[0], 0.0f) << "a trim fades in from silence";
}

TEST(AudioJitterBuffer, FullRingDropsWholeBuffersAndOversizeOnesSilently) {
  auto r = ring();
  fill(r, 32769);
  EXPECT_EQ(r.fill(), 0);
  EXPECT_EQ(r.overflows(), 0);
  fill(r, 32768);
  EXPECT_EQ(r.fill(), 32768);
  fill(r, 1);
  fill(r, 10);
  EXPECT_EQ(r.overflows(), 2);
  EXPECT_EQ(r.fill(), 32768);
  r.reset();
  EXPECT_EQ(r.fill(), 0);
  EXPECT_EQ(r.overflows(), 0);
  EXPECT_TRUE(r.buffering());
}

TEST(AudioJitterBuffer, MonoPlaysOnBothSidesAndGainRampsAcrossOneRender) {
  auto r = ring();
  PcmBuffer mono = PcmBuffer::make(1, 4000);
  std::fill(mono.planes[0].begin(), mono.planes[0].end(), 0.5f);
  r.write(mono);
  Output out(1024);
  out.read(r, 0.0f);  // fades in at gain 0
  EXPECT_FLOAT_EQ(out.left[500], 0.0f);
  out.read(r, 1.0f);  // gain 0 -> 1 across this render
  EXPECT_FLOAT_EQ(out.left[0], 0.0f);
  EXPECT_FLOAT_EQ(out.left[512], 0.5f * 512 / 1024);
  EXPECT_FLOAT_EQ(out.right[512], out.left[512]);
  Output next(16);
  next.read(r, 1.0f);
  EXPECT_FLOAT_EQ(next.left[0], 0.5f);  // full gain from the start of the next render
}

TEST(AudioLiveFeed, RenderNeverAllocates) {
  AudioLiveFeed feed;
  fill(feed.ring, 20000);
  std::vector<float> left(1024), right(1024);
  testing::AllocationCounter counter;
  for (int i = 0; i < 40; ++i) feed.render(left.data(), right.data(), 1024);  // plays, trims, underruns, buffers
  feed.setGain(0.5f);
  feed.render(left.data(), left.data(), 1024);
  EXPECT_EQ(counter.count(), 0u);
  EXPECT_GE(feed.ring.underruns(), 1);
  EXPECT_EQ(feed.ring.trims(), 1);
}

}  // namespace
}  // namespace tavorin

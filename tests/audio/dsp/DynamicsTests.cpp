#include <gtest/gtest.h>

#include "audio/dsp/DspTestSignals.h"

namespace tavorin {
namespace {

using namespace testing;
using K = AudioFilterKind;

Planes runStereo(const std::vector<AudioFilterConfig>& configs, const std::vector<float>& left,
                 const std::vector<float>& right, std::uint32_t block = 480) {
  FilterChain chain;
  prepareChain(chain, configs);
  Planes planes{left, right};
  runBlocks(chain, planes, block);
  return planes;
}

TEST(CompressorTest, ReducesLevelAboveThresholdByTheRatio) {
  const auto compressor = stage(K::compressor, {{"threshold", -20}, {"ratio", 4}, {"attackMs", 1}, {"releaseMs", 50}});
  const std::size_t n = 48000;

  // 6 dB over the threshold at 4:1 comes out 4.5 dB lower. The detector is
  // linked: the quiet right channel gets the same reduction.
  const auto loud = square(fromDb(-14), n), quiet = square(fromDb(-30), n);
  const Planes out = runStereo({compressor}, loud, quiet);
  const double leftDb = dB(peak(out[0], n / 2, n)), rightDb = dB(peak(out[1], n / 2, n));
  reportMeasured("compressor, -14 dBFS in at -20 dB 4:1", leftDb, "dBFS out");
  EXPECT_NEAR(leftDb, -18.5, 0.05);
  EXPECT_NEAR(rightDb, -34.5, 0.05);

  // Below the threshold nothing changes, bit for bit.
  const auto under = square(fromDb(-26), n);
  EXPECT_EQ(runStereo({compressor}, under, under)[0], under);

  // At 1:1 only the make-up gain is left.
  const auto unity = stage(K::compressor, {{"threshold", -40}, {"ratio", 1}, {"makeupDb", 6}});
  EXPECT_NEAR(dB(peak(runStereo({unity}, loud, loud)[0], n / 2, n)), -8, 0.01);
}

TEST(LimiterTest, HoldsALoudBurstAtTheCeilingOnceItsAttackHasPassed) {
  const auto limiter = stage(K::limiter, {{"ceilingDb", -1}, {"releaseMs", 80}});
  const std::size_t silence = 4800, burst = 48000;
  const auto burstOf = [&](const std::vector<float>& loud) {
    std::vector<float> input(silence, 0.0f);
    appendTo(input, loud);
    return runStereo({limiter}, input, input)[0];
  };

  // 12 dB over the ceiling at a constant level: no look-ahead, so the first
  // peaks pass while the 0.5 ms attack catches up; ten time constants later
  // the output sits on the ceiling.
  const auto flat = burstOf(square(fromDb(11), burst));
  const double onsetDb = dB(peak(flat, silence, silence + 96));
  const double afterAttackDb = dB(peak(flat, silence + 240, silence + burst));
  reportMeasured("limiter, peak in the first 2 ms of a +12 dB burst", onsetDb, "dBFS");
  reportMeasured("limiter, peak of a +12 dB flat burst from 5 ms on", afterAttackDb, "dBFS");
  EXPECT_GT(onsetDb, -1.0);
  EXPECT_NEAR(afterAttackDb, -1.0, 0.01);

  // A 1 kHz sine: the envelope sags between peaks, so they pass the ceiling a little.
  const double sineDb = dB(peak(burstOf(sine(1000, fromDb(11), burst)), silence + 240, silence + burst));
  reportMeasured("limiter, peak of a +12 dB 1 kHz sine burst from 5 ms on", sineDb, "dBFS");
  EXPECT_GT(sineDb, -1.0);
  EXPECT_LT(sineDb, -1.0 + 1.0);

  const auto under = sine(1000, fromDb(-2), burst);
  EXPECT_EQ(runStereo({limiter}, under, under)[0], under);
}

// Per-sample gain of a gate fed a square wave: |out| / |in|.
std::vector<double> gateGains(const AudioFilterConfig& gate, const std::vector<float>& input) {
  const Planes out = runStereo({gate}, input, input);
  std::vector<double> gains(input.size());
  for (std::size_t i = 0; i < input.size(); ++i) gains[i] = std::fabs(out[0][i]) / std::fabs(input[i]);
  return gains;
}

TEST(GateTest, ClosesAfterHoldAndReleaseAndOpensWithinItsAttack) {
  const auto gate = stage(K::gate, {{"threshold", -45}, {"rangeDb", 60}, {"attackMs", 2}, {"holdMs", 80},
                                    {"releaseMs", 150}});
  const std::size_t open = 24000, closed = 96000, reopen = 4800;
  std::vector<float> input = square(fromDb(-20), open);
  appendTo(input, square(fromDb(-70), closed));
  appendTo(input, square(fromDb(-20), reopen));
  const std::vector<double> g = gateGains(gate, input);

  // The detector falls 1% a sample from -20 to -45 dB (287 samples); the hold
  // keeps the gate open 80 ms longer; then it sinks with a 150 ms time constant.
  const std::size_t holdEnd = open + 287 + 3840;
  EXPECT_DOUBLE_EQ(g[holdEnd - 48], 1.0) << "closed during the hold";
  const double oneReleaseDb = dB(g[holdEnd + 7200]);
  const double floorDb = dB(g[open + closed - 1]);
  reportMeasured("gate, 150 ms after the hold", oneReleaseDb, "dB");
  reportMeasured("gate, 1.9 s after the level dropped", floorDb, "dB");
  EXPECT_NEAR(oneReleaseDb, dB(0.001 + 0.999 * std::exp(-1.0)), 0.5);
  EXPECT_NEAR(floorDb, -60, 1.0);

  // Above the threshold it opens with the 2 ms attack: part-way after 1 ms, fully after 10 ms.
  const double after1ms = dB(g[open + closed + 48]), after10ms = dB(g[open + closed + 480]);
  reportMeasured("gate, 1 ms after reopening", after1ms, "dB");
  EXPECT_LT(after1ms, -3);
  EXPECT_GT(after10ms, -0.1);
}

}  // namespace
}  // namespace tavorin

#include <gtest/gtest.h>

#include "support/DspTestSignals.h"

namespace tavorin {
namespace {

using namespace testing;
using K = AudioFilterKind;

constexpr std::size_t kSecond = 48000;

Planes runStereo(const std::vector<AudioFilterConfig>& configs, const std::vector<float>& left,
                 const std::vector<float>& right) {
  FilterChain chain;
  prepareChain(chain, configs);
  Planes planes{left, right};
  runBlocks(chain, planes, 480);
  return planes;
}

AudioFilterConfig limiter() { return stage(K::limiter, {{"ceilingDb", -1}, {"releaseMs", 80}}); }

// A second of a constant level from silence; the peaks from `from` on, once the detector has caught up.
TEST(DynamicsTest, SettledPeaksFollowTheStaticCurves) {
  const auto loud = square(fromDb(-14), kSecond), over = square(fromDb(11), kSecond);
  struct Case {
    const char* what;
    AudioFilterConfig stage;
    std::vector<float> left, right;
    std::size_t from;
    double leftDb, rightDb;
  };
  const Case cases[] = {
      // 4.5 dB less; the detector is linked, so the quiet side gets the same reduction.
      {"compressor, 6 dB over -20 dB at 4:1",
       stage(K::compressor, {{"threshold", -20}, {"ratio", 4}, {"attackMs", 1}, {"releaseMs", 50}}), loud,
       square(fromDb(-30), kSecond), kSecond / 2, -18.5, -34.5},
      {"compressor at 1:1 with 6 dB of make-up", stage(K::compressor, {{"threshold", -40}, {"ratio", 1}, {"makeupDb", 6}}),
       loud, loud, kSecond / 2, -8, -8},
      // Ten attack time constants on, the output sits on the ceiling.
      {"limiter, 12 dB over its -1 dB ceiling, from 5 ms on", limiter(), over, over, 240, -1, -1},
  };
  for (const Case& c : cases) {
    const Planes out = runStereo({c.stage}, c.left, c.right);
    const double leftDb = dB(peak(out[0], c.from, kSecond));
    reportMeasured(c.what, leftDb, "dBFS out");
    EXPECT_NEAR(leftDb, c.leftDb, 0.01) << c.what;
    EXPECT_NEAR(dB(peak(out[1], c.from, kSecond)), c.rightDb, 0.01) << c.what;
  }
}

// What the filter editor shows as gain reduction: the most of the last block.
TEST(DynamicsTest, CompressorAndLimiterReportTheirGainReduction) {
  const struct {
    const char* what;
    AudioFilterConfig stage;
    float levelDb;
    double reductionDb;
  } cases[] = {
      {"compressor, 6 dB over at 4:1", stage(K::compressor, {{"threshold", -20}, {"ratio", 4}, {"attackMs", 1}}), -14, 4.5},
      {"limiter, 12 dB over its ceiling", limiter(), 11, 12},
      {"compressor under its threshold", stage(K::compressor, {{"threshold", -20}}), -30, 0},
  };
  for (const auto& c : cases) {
    auto dsp = makeDSP(c.stage.kind);
    dsp->prepare(kRate, 2);
    dsp->update(effectiveParams(c.stage));
    std::vector<float> left = square(fromDb(c.levelDb), kSecond), right = left;
    float* planes[] = {left.data(), right.data()};
    for (std::size_t at = 0; at < kSecond; at += 480) {
      float* block[] = {planes[0] + at, planes[1] + at};
      dsp->process(block, 2, 480);
    }
    EXPECT_NEAR(dsp->gainReductionDB(), c.reductionDb, 0.05) << c.what;
  }
}

// Without look-ahead the first peaks of a burst pass while the 0.5 ms attack
// catches up, and a sine's peaks pass a little as the envelope sags between them.
TEST(LimiterTest, OnsetAndSinePeaksPassTheCeilingALittle) {
  const auto flat = square(fromDb(11), kSecond), tone = sine(1000, fromDb(11), kSecond);
  const double onsetDb = dB(peak(runStereo({limiter()}, flat, flat)[0], 0, 96));
  const double sineDb = dB(peak(runStereo({limiter()}, tone, tone)[0], 240, kSecond));
  reportMeasured("limiter, peak in the first 2 ms of a +12 dB burst", onsetDb, "dBFS");
  reportMeasured("limiter, peak of a +12 dB 1 kHz sine burst from 5 ms on", sineDb, "dBFS");
  EXPECT_GT(onsetDb, -1.0);
  EXPECT_GT(sineDb, -1.0);
  EXPECT_LT(sineDb, 0.0);
}

TEST(GateTest, ClosesAfterHoldAndReleaseAndOpensWithinItsAttack) {
  const auto gate = stage(K::gate, {{"threshold", -45}, {"rangeDb", 60}, {"attackMs", 2}, {"holdMs", 80},
                                    {"releaseMs", 150}});
  const std::size_t open = 24000, closed = 96000, reopen = 4800;
  std::vector<float> input = square(fromDb(-20), open);
  appendTo(input, square(fromDb(-70), closed));
  appendTo(input, square(fromDb(-20), reopen));
  // The gain at each sample of the square wave: |out| / |in|.
  const Planes out = runStereo({gate}, input, input);
  const auto g = [&](std::size_t i) { return std::fabs(out[0][i]) / std::fabs(input[i]); };

  // The detector falls 1% a sample from -20 to -45 dB (287 samples); the hold
  // keeps the gate open 80 ms longer; then it sinks with a 150 ms time constant.
  const std::size_t holdEnd = open + 287 + 3840;
  EXPECT_DOUBLE_EQ(g(holdEnd - 48), 1.0) << "closed during the hold";
  const double oneReleaseDb = dB(g(holdEnd + 7200));
  const double floorDb = dB(g(open + closed - 1));
  reportMeasured("gate, 150 ms after the hold", oneReleaseDb, "dB");
  reportMeasured("gate, 1.9 s after the level dropped", floorDb, "dB");
  EXPECT_NEAR(oneReleaseDb, dB(0.001 + 0.999 * std::exp(-1.0)), 0.5);
  EXPECT_NEAR(floorDb, -60, 1.0);

  // Above the threshold it opens with the 2 ms attack: part-way after 1 ms, fully after 10 ms.
  const double after1ms = dB(g(open + closed + 48)), after10ms = dB(g(open + closed + 480));
  reportMeasured("gate, 1 ms after reopening", after1ms, "dB");
  EXPECT_LT(after1ms, -3);
  EXPECT_GT(after10ms, -0.1);
}

}  // namespace
}  // namespace tavorin

#include <gtest/gtest.h>

#include "support/AllocationCounter.h"
#include "support/DspTestSignals.h"

namespace tavorin {
namespace {

using namespace testing;
using K = AudioFilterKind;

std::vector<AudioFilterConfig> everyKind() {
  return {stage(K::eq, {{"hpfHz", 80}, {"lowGain", 3}, {"midGain", -4}, {"highGain", 2}}),
          stage(K::compressor), stage(K::limiter), stage(K::gate), stage(K::noiseReduction)};
}

TEST(FilterChainTest, ProcessDoesNotAllocateOnceRunning) {
  FilterChain chain;
  prepareChain(chain, everyKind());
  // Blocks beyond the noise reducer's FIFO sizes grow them once, in the warm-up.
  for (std::uint32_t block : {480u, 4096u, 20000u}) {
    Planes planes{Noise(1).take(block * 40, 0.2f), Noise(2).take(block * 40, 0.2f)};
    Planes warmUp{std::vector<float>(planes[0].begin(), planes[0].begin() + block * 4),
                  std::vector<float>(planes[1].begin(), planes[1].begin() + block * 4)};
    runBlocks(chain, warmUp, block);
    float* pointers[2] = {planes[0].data(), planes[1].data()};
    AllocationCounter counter;
    for (std::uint32_t start = 0; start < block * 40; start += block) {
      chain.process(pointers, 2, block);
      pointers[0] += block;
      pointers[1] += block;
    }
    EXPECT_EQ(counter.count(), 0u) << "blocks of " << block;
  }
}

// A mono buffer into a chain prepared for stereo runs on its one channel, as a
// mono chain would, and touches nothing beyond it.
TEST(FilterChainTest, MonoBufferIntoAStereoChain) {
  const std::vector<float> input = Noise(4).take(48000, 0.3f);
  FilterChain stereo, mono;
  prepareChain(stereo, everyKind(), 2);
  prepareChain(mono, everyKind(), 1);
  Planes a{input}, b{input};
  runBlocks(stereo, a, 480);
  runBlocks(mono, b, 480);
  EXPECT_EQ(a[0], b[0]);
  EXPECT_NE(a[0], input);
}

// Every change of any stage prepares all stages afresh: envelopes, filter
// memories and noise estimates start over, the same as a new chain's.
TEST(FilterChainTest, AnyChangeRestartsEveryStage) {
  std::vector<AudioFilterConfig> configs = everyKind();
  const std::vector<float> before = Noise(5).take(96000, 0.5f), after = Noise(6).take(48000, 0.05f);

  FilterChain used;
  prepareChain(used, configs);
  Planes history{before, before};
  runBlocks(used, history, 480);
  configs[1].params["ratio"] = 5;
  used.apply(configs);
  Planes fromUsed{after, after};
  runBlocks(used, fromUsed, 480);

  FilterChain fresh;
  prepareChain(fresh, configs);
  Planes fromFresh{after, after};
  runBlocks(fresh, fromFresh, 480);
  EXPECT_EQ(fromUsed, fromFresh);
}

// Stages with nothing to do pass audio bit for bit, and the first audible setting does not.
TEST(FilterChainTest, StagesWithNothingToDoPassAudioBitForBit) {
  const std::vector<float> noise = Noise(8).take(24000, 0.5f);
  std::vector<AudioFilterConfig> disabled = everyKind();
  for (auto& config : disabled) config.enabled = false;
  const auto eq = [](const FilterParams& params) { return std::vector{stage(K::eq, params)}; };
  struct Case {
    const char* what;
    std::vector<AudioFilterConfig> stages;
    std::vector<float> input;
    bool untouched;
  };
  const Case cases[] = {
      {"every kind, disabled", disabled, noise, true},
      {"compressor below its threshold", {stage(K::compressor, {{"threshold", -20}, {"ratio", 4}})},
       square(fromDb(-26), 24000), true},
      {"limiter below its ceiling", {stage(K::limiter, {{"ceilingDb", -1}})}, sine(1000, fromDb(-2), 24000), true},
      // An EQ section whose setting cannot be heard is left out altogether.
      {"EQ at its defaults", eq({}), noise, true},
      {"EQ just short of audible", eq({{"hpfHz", 22}, {"lowGain", 0.09}, {"midGain", -0.09}, {"highGain", 0.09}}),
       noise, true},
      {"EQ high-pass at 22.5 Hz", eq({{"hpfHz", 22.5}}), noise, false},
      {"EQ mid at +0.1 dB", eq({{"midGain", 0.1}}), noise, false},
  };
  for (const Case& c : cases) {
    FilterChain chain;
    prepareChain(chain, c.stages);
    Planes planes{c.input, c.input};
    runBlocks(chain, planes, 480);
    EXPECT_EQ(planes[0] == c.input, c.untouched) << c.what;
  }

  // Stages removed from a chain that had them.
  FilterChain chain;
  prepareChain(chain, everyKind());
  chain.apply({});
  Planes planes{noise, noise};
  runBlocks(chain, planes, 480);
  EXPECT_EQ(planes[0], noise);
}

}  // namespace
}  // namespace tavorin

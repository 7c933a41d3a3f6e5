#include <gtest/gtest.h>

#include "support/DspTestSignals.h"
#include "model/AudioFilterConfigJson.h"

namespace tavorin {
namespace {

using namespace testing;
using json = Json;
using K = AudioFilterKind;

TEST(AudioFilterConfigTest, NewConfigsCarryEveryDefaultAndRoundTrip) {
  const AudioFilterConfig gate = AudioFilterConfig::make(K::gate);
  EXPECT_NE(gate.id, AudioFilterConfig::make(K::gate).id);
  EXPECT_TRUE(gate.enabled);
  EXPECT_EQ(gate.params, (FilterParams{{"threshold", -45}, {"rangeDb", 60}, {"attackMs", 2}, {"holdMs", 80},
                                      {"releaseMs", 150}}));

  const json j = gate;
  EXPECT_EQ(j["kind"], "gate");
  EXPECT_EQ(j["id"], gate.id.toString());
  EXPECT_EQ(j.get<AudioFilterConfig>(), gate);
  EXPECT_EQ(json(AudioFilterConfig::make(K::noiseReduction))["kind"], "noiseReduction");
}

// Missing parameters take their defaults, unknown ones change nothing.
TEST(AudioFilterConfigTest, PartialAndUnknownParametersActLikeTheDefaults) {
  const json stored = {{"id", "8F3C2A4E-2B7D-4C1A-9E5F-0A1B2C3D4E5F"},
                       {"kind", "compressor"},
                       {"enabled", true},
                       {"params", {{"ratio", 3}, {"loudness", 11}}},
                       {"comment", "kept from an older version"}};
  const AudioFilterConfig partial = stored.get<AudioFilterConfig>();
  const std::vector<float> input = Noise(3).take(24000, 0.4f);
  const auto run = [&](const AudioFilterConfig& config) {
    FilterChain chain;
    prepareChain(chain, {config});
    Planes planes{input, input};
    runBlocks(chain, planes, 480);
    return planes[0];
  };
  const auto withDefaults = run(AudioFilterConfig::make(K::compressor));
  EXPECT_EQ(run(partial), withDefaults);
  EXPECT_NE(withDefaults, input);
}

TEST(AudioFilterConfigTest, MalformedStagesAreRejected) {
  const auto with = [](const char* key, const json& value) {
    json j = AudioFilterConfig::make(K::limiter);
    j[key] = value;
    return j;
  };
  EXPECT_THROW(with("kind", "reverb").get<AudioFilterConfig>(), AudioFilterDecodeError);
  EXPECT_THROW(with("enabled", "yes").get<AudioFilterConfig>(), AudioFilterDecodeError);
  EXPECT_THROW(with("id", "not-a-uuid").get<AudioFilterConfig>(), AudioFilterDecodeError);
  EXPECT_THROW(with("params", json{{"ceilingDb", true}}).get<AudioFilterConfig>(), AudioFilterDecodeError);
  EXPECT_THROW(with("params", nullptr).get<AudioFilterConfig>(), AudioFilterDecodeError);
}

// Whole numbers are truncated, and "off" stops at 20.5 Hz although nothing is filtered up to 22 Hz.
TEST(AudioFilterConfigTest, EditorValueTexts) {
  const auto& eq = paramTable(K::eq);
  const auto& compressor = paramTable(K::compressor);
  EXPECT_EQ(valueText(eq[0], 20.5), "off");
  EXPECT_EQ(valueText(eq[0], 21.9), "21 Hz");
  EXPECT_EQ(valueText(compressor[0], -18.4), "-18 dB");
  EXPECT_EQ(valueText(compressor[4], 3), "+3.0 dB");
  EXPECT_EQ(valueText(compressor[2], 2.25), "2.2 ms");
  EXPECT_EQ(valueText(compressor[3], 80.9), "80 ms");
  EXPECT_EQ(valueText(compressor[1], 3), "3.0:1");
  EXPECT_EQ(valueText(paramTable(K::noiseReduction)[0], 0.7), "70%");
  EXPECT_EQ(valueText(eq[4], 1.234), "1.23");
}

}  // namespace
}  // namespace tavorin

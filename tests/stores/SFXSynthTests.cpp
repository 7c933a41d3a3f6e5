#include "stores/SFXSynth.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <iterator>
#include <sstream>

#include "support/ChildProcess.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

struct Expected {
  const char* name;
  std::size_t length;    // samples in the file
  std::size_t sounding;  // samples up to the last non-zero one; the rest of the buffer stays silent
  const char* sha256;    // of the file as first written; the same on every machine
};

constexpr Expected kExpected[] = {
    {"Ding", 28800, 28800, "017c7856019014263804db89bc9e9e8ff4c8e965828e6f66fea1b044d98c5cc2"},
    {"Chime", 72000, 67200, "fcd80382e80673cdd3cd037d23c2a24449249181680aecf3620a3cb05535a14a"},
    {"Beep", 8640, 7200, "59020f10fa0cbe1b0447fc27e0a3130fb3eab9d13892f51b2dd15df75943b605"},
    {"Double Beep", 14400, 11520, "6abf5dbd0849e27083bfe43bc55345c3c97893532e92de2ca61014d7c435dc9b"},
    {"Pop", 5760, 3840, "b2cfcbb8a1a3d20999b068aef26f30a3729eebcd73e0f86f3a5ea2c5ff850408"},
    {"Click", 1440, 720, "98c4cddecdd4ad52d738c7ea2c52c18532fb2de389be6a50a783f669a2f0015f"},
    {"Whoosh", 28800, 24000, "05f1386455c58439b14eee7f19db9ec05f8696de5b0c13043276ec349f1d7d3e"},
    {"Riser", 81600, 76800, "de85aa7a45cfae61d18ebdd9a718c58e7973865aedae3a4f5a2b2e800e768c6e"},
    {"Drum Roll", 76800, 74400, "c45faa22dc973933fab97a5868f30c30a8efa54943edaacb7055eee46167d3a4"},
    {"Buzzer", 24000, 24000, "7a3cc83cb2ccb55f8985f7388d75067cd5aacec29256fdd2f1fd54d273764e2b"},
    {"Success", 33600, 30240, "3461e6829d749f17e07c51d51b41072d8e61273ce083027886f5b1858b0704c5"},
    {"Error", 24000, 20160, "de7ad8188a555d57e09e51094d85d2add3b0407a8eee200c55043d674c8738d3"},
    {"Applause", 105600, 100800, "39eed828f6cfcd6321442fcd4f642f33bb1c4db6dd43ede7b9f1dba028c88420"},
    {"Cheer", 124800, 120000, "a30cdf47283fd33cc8855ea551ef1746008accc4a329fbf593f9172ac1b4e46b"},
    {"Drum Hit", 21600, 19200, "458f2d968d3bf8f517c73047816e049ebb2787a6915f484368549d286646a589"},
};

TEST(SFXSynthTests, PresetsFollowTheirRecipesToTheByte) {
  testing::TempDir dir;
  const auto& presets = SFXSynth::presets();
  ASSERT_EQ(presets.size(), std::size(kExpected));
  std::vector<std::string> argv{testing::findProgram("sha256sum", "coreutils")};
  for (std::size_t i = 0; i < presets.size(); ++i) {
    const Expected& expected = kExpected[i];
    SCOPED_TRACE(expected.name);
    EXPECT_EQ(presets[i].name, expected.name);
    const auto samples = SFXSynth::normalize(presets[i].make(), SFXSynth::kPeak);
    EXPECT_EQ(samples.size(), expected.length);
    float peak = 0;
    std::size_t sounding = 0;
    for (std::size_t j = 0; j < samples.size(); ++j) {
      peak = std::max(peak, std::abs(samples[j]));
      if (samples[j] != 0) sounding = j + 1;
    }
    EXPECT_NEAR(peak, 0.85f, 1e-6f);
    EXPECT_EQ(sounding, expected.sounding);
    const auto file = dir / (std::to_string(i) + ".wav");
    std::string error;
    ASSERT_TRUE(SFXSynth::renderPreset(presets[i].name, presets[i].make, file, &error)) << error;
    argv.push_back(file);
  }
  const auto sums = testing::outputOf(argv, dir / "sha256sum.log");
  ASSERT_TRUE(sums);
  std::istringstream lines(*sums);
  for (const Expected& expected : kExpected) {
    std::string sum, file;
    lines >> sum >> file;
    EXPECT_EQ(sum, expected.sha256) << expected.name;
  }
}

TEST(SFXSynthTests, NormalizeScalesToThePeakButLeavesNearSilence) {
  const struct {
    std::vector<float> in, out;
  } cases[] = {
      {{0.5f, -2.0f, 1.0f}, {0.2125f, -0.85f, 0.425f}},
      {{0.0001f, -0.00005f}, {0.0001f, -0.00005f}},
  };
  for (const auto& c : cases) {
    EXPECT_THAT(SFXSynth::normalize(c.in, 0.85f), ::testing::Pointwise(::testing::FloatEq(), c.out));
  }
}

}  // namespace
}  // namespace tavorin

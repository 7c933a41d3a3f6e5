#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

#include "audio/dsp/LoudnessMeter.h"

namespace tavorin {
namespace {

constexpr int kRate = 48000;

// `seconds` of a 1 kHz sine at `dBFS` (its peak) in both channels, fed in 1024-frame blocks.
void feedTone(LoudnessMeter& meter, double dBFS, double seconds) {
  const double amplitude = std::pow(10.0, dBFS / 20);
  std::vector<float> block(1024);
  const float* planes[] = {block.data(), block.data()};
  const auto total = static_cast<std::size_t>(seconds * kRate);
  for (std::size_t at = 0; at < total; at += block.size()) {
    for (std::size_t i = 0; i < block.size(); ++i) {
      block[i] = static_cast<float>(amplitude * std::sin(2 * std::numbers::pi * 1000.0 * double(at + i) / kRate));
    }
    meter.add(planes, block.size(), kRate);
  }
}

// The EBU's first test signal: a stereo 1 kHz sine at -23 dBFS reads -23.0 LUFS.
TEST(LoudnessMeter, TheEbuReferenceToneReadsMinus23AndAResetStartsAgain) {
  LoudnessMeter meter(2, kRate);
  EXPECT_EQ(meter.reading().integrated, -INFINITY) << "nothing measured yet";
  feedTone(meter, -23, 20);
  const LoudnessReading tone = meter.reading();
  EXPECT_NEAR(tone.integrated, -23.0, 0.1);
  EXPECT_NEAR(tone.momentary, -23.0, 0.1);
  EXPECT_NEAR(tone.shortTerm, -23.0, 0.1);
  EXPECT_NEAR(tone.truePeak, -23.0, 0.2);
  EXPECT_LT(tone.range, 0.5) << "a steady tone has no loudness range";

  // Ten seconds ten LU quieter: the momentary figure follows, the integrated one sits between.
  feedTone(meter, -33, 10);
  const LoudnessReading after = meter.reading();
  EXPECT_NEAR(after.momentary, -33.0, 0.1);
  EXPECT_LT(after.integrated, -23.5);
  EXPECT_GT(after.integrated, -33.0);

  meter.reset();
  EXPECT_EQ(meter.reading().integrated, -INFINITY);
  feedTone(meter, -23, 5);
  EXPECT_NEAR(meter.reading().integrated, -23.0, 0.1) << "a new rate or a reset measures afresh";
}

}  // namespace
}  // namespace tavorin

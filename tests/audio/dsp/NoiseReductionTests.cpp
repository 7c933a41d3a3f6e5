#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "support/DspTestSignals.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using namespace testing;
using K = AudioFilterKind;

std::vector<float> runMono(const AudioFilterConfig& config, std::vector<float> input, std::uint32_t block = 480) {
  FilterChain chain;
  prepareChain(chain, {config}, 1);
  Planes planes{std::move(input)};
  runBlocks(chain, planes, block);
  return planes[0];
}

// Random noise that repeats every 512 samples: a hum-like floor whose spectrum
// is the same in every frame, so the estimate locks onto it exactly.
std::vector<float> steadyNoise(std::size_t count, float rms) {
  const std::vector<float> period = Noise(3).take(512, rms);
  std::vector<float> out(count);
  for (std::size_t i = 0; i < count; ++i) out[i] = period[i % 512];
  return out;
}

TEST(NoiseReductionTest, SteadyNoiseSinksToTheAttenuationLimitOfItsStrength) {
  // The estimate climbs about 0.5 dB a second from its start value; three
  // minutes bring it up to a -60 dBFS floor in every bin.
  const std::size_t total = 180 * 48000, tail = 5 * 48000;
  const std::vector<float> input = steadyNoise(total, 0.001f);
  for (double strength : {0.0, 0.7, 1.0}) {
    const auto out = runMono(stage(K::noiseReduction, {{"strength", strength}}), input);
    const double reduction = dB(rms(out, total - tail, total) / rms(input, total - tail, total));
    const double limit = dB((1 - strength) * 0.06 + 0.02);
    reportMeasured("noise reduction of a steady floor at strength " + std::to_string(strength) + " (limit " +
                       std::to_string(limit) + " dB)",
                   reduction, "dB");
    EXPECT_NEAR(reduction, limit, 0.5) << "strength " << strength;
  }
}

// After digital silence the floor estimate is 0, so with strength 0 and no
// smoothing every gain is exactly 1: the stage reduces to its framing.
TEST(NoiseReductionTest, SubtractingNothingReturnsTheInputDelayed) {
  const auto transparent = stage(K::noiseReduction, {{"strength", 0}, {"smoothing", 0}});
  std::vector<float> input(4096, 0.0f);
  appendTo(input, Noise(9).take(48000, 0.3f));

  // Blocks of one hop: the first call returns silence, then everything comes one hop late.
  const auto out512 = runMono(transparent, input, 512);
  double worst = 0;
  for (std::size_t i = 512; i < input.size() - 1024; ++i) {
    worst = std::fmax(worst, std::fabs(out512[i] - input[i - 512]));
  }
  EXPECT_LT(worst, 1e-5);

  // Small blocks: the output falls behind whenever its FIFO runs dry, then
  // settles on a fixed delay between one hop and one frame plus a block.
  const auto out100 = runMono(transparent, input, 100);
  std::size_t delay = 0;
  double best = 1;
  for (std::size_t d = 512; d <= 1124; ++d) {
    double err = 0;
    for (std::size_t i = 12000; i < input.size() - 2048; ++i) err = std::fmax(err, std::fabs(out100[i] - input[i - d]));
    if (err < best) best = err, delay = d;
  }
  reportMeasured("noise reduction delay with 100-sample blocks", static_cast<double>(delay), "samples");
  EXPECT_LT(best, 1e-5);
}

TEST(NoiseReductionTest, ChannelsAreIndependent) {
  const std::size_t n = 96000;
  std::vector<float> left = Noise(11).take(n, 0.3f), right = Noise(12).take(n, 0.01f);
  for (std::size_t i = 0; i < n; i += 9600) std::fill_n(left.begin() + static_cast<long>(i), 4800, 0.0f);

  FilterChain stereo;
  prepareChain(stereo, {stage(K::noiseReduction)}, 2);
  Planes planes{left, right};
  runBlocks(stereo, planes, 480);
  EXPECT_EQ(planes[1], runMono(stage(K::noiseReduction), right));
}

// Speech from espeak-ng, brought to 48 kHz float by sox.
std::vector<float> synthesiseSpeech(const TempDir& dir) {
  for (const std::string tool : {"espeak-ng", "sox"}) {
    if (std::system(("command -v " + tool + " >/dev/null 2>&1").c_str()) != 0) {
      ADD_FAILURE() << tool << " is missing: install the Debian package " << tool;
      return {};
    }
  }
  const auto wav = dir / "speech.wav", raw = dir / "speech.raw";
  const std::string speak = "espeak-ng -w '" + wav.string() +
                            "' 'The quick brown fox jumps over the lazy dog. Testing one, two, three, four.'";
  const std::string convert = "sox '" + wav.string() + "' -r 48000 -c 1 -e float -b 32 -t raw '" + raw.string() + "'";
  if (std::system(speak.c_str()) != 0 || std::system(convert.c_str()) != 0) {
    ADD_FAILURE() << "espeak-ng or sox failed";
    return {};
  }
  std::ifstream file(raw, std::ios::binary | std::ios::ate);
  std::vector<float> samples(static_cast<std::size_t>(file.tellg()) / sizeof(float));
  file.seekg(0);
  file.read(reinterpret_cast<char*>(samples.data()), static_cast<std::streamsize>(samples.size() * sizeof(float)));
  return samples;
}

TEST(NoiseReductionTest, SpeechOverLearnedNoiseKeepsItsLevel) {
  TempDir dir;
  std::vector<float> speech = synthesiseSpeech(dir);
  ASSERT_GT(speech.size(), 48000u);
  // Bring the speech to -20 dBFS RMS over its loud 10 ms frames.
  const std::size_t frame = 480;
  std::vector<bool> active;
  double loudest = 0;
  for (std::size_t f = 0; f + frame <= speech.size(); f += frame) {
    loudest = std::fmax(loudest, rms(speech, f, f + frame));
  }
  double activeEnergy = 0;
  for (std::size_t f = 0; f + frame <= speech.size(); f += frame) {
    active.push_back(rms(speech, f, f + frame) > loudest * 0.1);
    if (active.back()) activeEnergy += std::pow(rms(speech, f, f + frame), 2);
  }
  const double activeCount = static_cast<double>(std::count(active.begin(), active.end(), true));
  const auto scale = static_cast<float>(0.1 / std::sqrt(activeEnergy / activeCount));
  for (float& v : speech) v *= scale;

  // Two minutes of -50 dBFS white noise to learn from, then the speech over it.
  const std::size_t lead = 120 * 48000;
  Noise noise(21);
  std::vector<float> input = noise.take(lead + speech.size() + 48000, 0.003f);
  for (std::size_t i = 0; i < speech.size(); ++i) input[lead + i] += speech[i];
  const auto out = runMono(stage(K::noiseReduction), input);

  const std::size_t delay = bestLag(out, input, lead, lead + speech.size(), 0, 2048);
  reportMeasured("noise reduction delay with 480-sample blocks", static_cast<double>(delay), "samples");
  double inEnergy = 0, outEnergy = 0;
  for (std::size_t f = 0; f < active.size(); ++f) {
    if (!active[f]) continue;
    const std::size_t at = lead + f * frame;
    inEnergy += std::pow(rms(speech, f * frame, f * frame + frame), 2);
    outEnergy += std::pow(rms(out, at + delay, at + delay + frame), 2);
  }
  const double speechDb = dB(std::sqrt(outEnergy / inEnergy));
  const double noiseDb = dB(rms(out, lead - 480000 + delay, lead + delay) / rms(input, lead - 480000, lead));
  reportMeasured("speech level through noise reduction, against the clean speech", speechDb, "dB");
  reportMeasured("the -50 dBFS noise before the speech", noiseDb, "dB");
  // Random noise is lowered only a little: the floor estimate follows the
  // quietest frames of each bin, far below the noise's mean magnitude.
  EXPECT_NEAR(speechDb, 0, 1.0);
  EXPECT_LT(noiseDb, -0.3);
  EXPECT_GT(noiseDb, dB(0.038));
}

}  // namespace
}  // namespace tavorin

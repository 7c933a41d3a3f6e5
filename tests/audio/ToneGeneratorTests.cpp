#include "audio/ToneGenerator.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <thread>
#include <vector>

#include "base/HostTime.h"

namespace tavorin {
namespace {

TEST(SyncBeep, OneFrameOfOneKilohertzOnEveryWholeSecondOfTheEpoch) {
  auto channel = std::make_shared<AudioTrackProcessor>("synctest:1", "Sync test");
  struct Block {
    double time;
    std::vector<float> left, right;
  };
  std::vector<Block> blocks;  // filled on the generator's thread, read once it has joined
  channel->setRecordTap([&](const PcmBuffer& b, double time) { blocks.push_back({time, b.planes[0], b.planes[1]}); });
  // An epoch a quarter second back: the generator joins its grid mid-second.
  const double epoch = hostTimeNow() - 0.25;
  {
    ToneGenerator beep(channel, syncBeep(0.5f), epoch);
    std::this_thread::sleep_for(std::chrono::milliseconds(2000));
  }
  ASSERT_GT(blocks.size(), 180u);

  // One gapless run of samples, each block stamped with its first sample's time.
  const double firstTime = blocks.front().time;
  const auto firstSample = static_cast<std::int64_t>(std::llround((firstTime - epoch) * 48000));
  EXPECT_NEAR(firstTime, epoch + firstSample / 48000.0, 1e-9) << "blocks start on the epoch's sample grid";
  EXPECT_LT(std::abs(firstTime - (epoch + 0.25)), 0.02) << "the first block holds the present";
  std::vector<float> samples;
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    const Block& b = blocks[i];
    ASSERT_NEAR(b.time, firstTime + samples.size() / 48000.0, 1e-9) << "block " << i;
    ASSERT_EQ(b.left, b.right);
    samples.insert(samples.end(), b.left.begin(), b.left.end());
  }
  auto timeOf = [&](std::size_t i) { return firstTime + static_cast<double>(i) / 48000; };

  // Seconds 1 and 2 of the epoch fall inside the run.
  for (int k = 1; k <= 2; ++k) {
    SCOPED_TRACE(k);
    const auto boundary = static_cast<std::size_t>(k * 48000 - firstSample);
    ASSERT_LE(boundary + 1600, samples.size());
    std::size_t start = boundary - 480, end = 0;
    while (samples[start] == 0.0f) ++start;
    for (std::size_t i = start; i < std::min(samples.size(), boundary + 24000); ++i) {
      if (samples[i] != 0.0f) end = i + 1;
    }
    // The beep starts at phase 0, so its first sample is 0 and the first heard is the next.
    EXPECT_NEAR(timeOf(start), epoch + k, 1.5 / 48000) << "first sample of the beep at the flash time";
    EXPECT_EQ(end, boundary + 1600) << "one 30 fps frame long";
    int crossings = 0;
    for (std::size_t i = boundary + 1; i < boundary + 1600; ++i) crossings += (samples[i - 1] < 0) != (samples[i] < 0);
    EXPECT_NEAR(crossings, 66, 1) << "1 kHz: two crossings a millisecond";
  }
  std::size_t heardBetween = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    heardBetween += (firstSample + static_cast<std::int64_t>(i)) % 48000 >= 1600 && samples[i] != 0.0f;
  }
  EXPECT_EQ(heardBetween, 0u) << "silence between beeps";
}

}  // namespace
}  // namespace tavorin

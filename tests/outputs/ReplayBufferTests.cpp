#include "outputs/ReplayBuffer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <future>
#include <thread>

#include "base/HostTime.h"
#include "support/Ffprobe.h"
#include "support/ReplayFill.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

constexpr int kWidth = 320;
constexpr int kHeight = 180;
constexpr double kStart = 1000;
// The click, and the one white picture shown with it.
constexpr double kClickAt = kStart + 8.5;

using testing::number;

std::optional<ReplayBuffer::Saved> saved(ReplayBuffer& buffer, const std::filesystem::path& file) {
  std::promise<std::optional<ReplayBuffer::Saved>> done;
  buffer.save(file, [&](std::optional<ReplayBuffer::Saved> result) { done.set_value(std::move(result)); });
  return done.get_future().get();
}

FrameRef pictureAt(double time) {
  auto frame = PixelBuffer::make(kWidth, kHeight);
  frame->fill(60, 60, 60, 255);
  frame->setHostTime(time);
  return frame;
}

void fill(ReplayBuffer& buffer, double seconds) {
  testing::fillReplay(buffer, seconds, kWidth, kHeight, kStart, kClickAt);
}

TEST(ReplayBuffer, HoldsTheAskedSecondsFromAKeyFrameAndSavesThemAsEncodedWithTheirSound) {
  testing::TempDir dir;
  SharedEncoders encoders;
  ReplayBuffer buffer(encoders, {});
  buffer.apply(true, 3, kWidth, kHeight, 60);
  buffer.settle();
  ASSERT_TRUE(buffer.encoding());
  fill(buffer, 10);
  // Back to the key frame at or before the cutoff: at most one key-frame interval more.
  EXPECT_GE(buffer.heldSeconds(), 3.0);
  EXPECT_LT(buffer.heldSeconds(), 3.0 + ReplayBuffer::kKeyFrameInterval);

  const auto result = saved(buffer, dir / "Replay.mov");
  ASSERT_TRUE(result);
  EXPECT_FALSE(buffer.saving());
  const auto info = testing::probe(result->file);
  const auto* video = testing::streamOf(info, "video");
  const auto* audio = testing::streamOf(info, "audio");
  ASSERT_TRUE(video && audio) << info.dump();
  EXPECT_EQ((*video)["codec_name"], "h264");
  EXPECT_EQ((*video)["profile"], "High");
  EXPECT_EQ((*video)["has_b_frames"], 0);
  EXPECT_EQ((*video)["width"], kWidth);
  EXPECT_EQ((*audio)["codec_name"], "aac");
  EXPECT_EQ((*audio)["sample_rate"], "48000");
  EXPECT_EQ((*audio)["channels"], 2);
  EXPECT_NEAR(number(info["format"]["duration"]), result->seconds, 0.1);
  EXPECT_NEAR(result->seconds, buffer.heldSeconds() + 1 / 30.0, 0.05);

  const auto hashes = testing::packetHashes(result->file, "v");
  ASSERT_FALSE(hashes.empty());
  EXPECT_EQ(hashes.front().front(), 'K') << "the clip starts on a key frame";
  EXPECT_EQ(testing::packetTimes(result->file, "v", "pts_time"), testing::packetTimes(result->file, "v"))
      << "no picture is reordered";
  EXPECT_NEAR(testing::packetTimes(result->file, "v").front(), 0, 1e-3);

  // The click sounds with its picture, within a frame.
  const auto pairs = testing::flashBeepOffsets(result->file);
  ASSERT_EQ(pairs.size(), 1u);
  EXPECT_NEAR(pairs[0].at, kClickAt - (kStart + 10 - result->seconds), 1 / 30.0 + 0.001);
  EXPECT_LE(std::fabs(pairs[0].offset), 1 / 30.0);
}

TEST(ReplayBuffer, SavesNothingWhenOffEmptyOrAlreadySaving) {
  testing::TempDir dir;
  SharedEncoders encoders;
  ReplayBuffer buffer(encoders, {});
  EXPECT_FALSE(saved(buffer, dir / "off.mov")) << "off";
  buffer.apply(true, 60, kWidth, kHeight, 30);
  buffer.settle();
  EXPECT_FALSE(saved(buffer, dir / "empty.mov")) << "nothing held yet";
  fill(buffer, 6);

  std::promise<std::optional<ReplayBuffer::Saved>> first;
  buffer.save(dir / "first.mov", [&](auto result) { first.set_value(std::move(result)); });
  EXPECT_FALSE(saved(buffer, dir / "second.mov")) << "a save while one runs";
  EXPECT_TRUE(first.get_future().get()) << "the first goes on";
  EXPECT_FALSE(std::filesystem::exists(dir / "second.mov"));
  for (const char* name : {"off.mov", "empty.mov"}) EXPECT_FALSE(std::filesystem::exists(dir / name));

  // Off drops what was held.
  buffer.apply(false, 60, kWidth, kHeight, 30);
  buffer.settle();
  EXPECT_EQ(buffer.heldBytes(), 0u);
  EXPECT_FALSE(buffer.encoding());
}

TEST(ReplayBuffer, AnEncoderThatCannotOpenIsSaidOnceThenTheNextCanvasRecordsThroughTheSharedEncoder) {
  testing::TempDir dir;
  SharedEncoders encoders;
  std::vector<std::string> lines;
  ReplayBuffer buffer(encoders, [&](const std::string& line) { lines.push_back(line); }, false);
  buffer.apply(true, 1, 321, 181, 30);
  buffer.apply(true, 2, 321, 181, 30);
  buffer.settle();
  EXPECT_FALSE(buffer.encoding());
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(lines[0].starts_with("Replay buffer: no encoder opens for 321×181")) << lines[0];
  EXPECT_FALSE(saved(buffer, dir / "none.mov"));

  // Frames from the frame clock, in real time, through the encoder the buffer shares.
  buffer.apply(true, 1, kWidth, kHeight, 60);
  buffer.settle();
  ASSERT_TRUE(buffer.encoding());
  EXPECT_EQ(encoders.videoEncoderCount(), 1);
  const double start = hostTimeNow();
  for (int i = 0; i < 150; ++i) {
    const double time = start + i / 60.0;
    while (hostTimeNow() < time) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    encoders.feedVideo(ReplayBuffer::kCanvas, pictureAt(time));
  }
  const auto result = saved(buffer, dir / "live.mov");
  ASSERT_TRUE(result);
  const auto times = testing::packetTimes(result->file, "v");
  ASSERT_GE(times.size(), 25u);
  // A 60 Hz clock gives the buffer every second picture.
  EXPECT_NEAR(times[1] - times[0], 1 / 30.0, 0.005);
  buffer.apply(false, 1, kWidth, kHeight, 60);
  buffer.settle();
  EXPECT_EQ(encoders.videoEncoderCount(), 0) << "off leaves the encoder";
}

}  // namespace
}  // namespace tavorin

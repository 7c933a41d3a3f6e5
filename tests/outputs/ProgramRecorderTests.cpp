#include "outputs/ProgramRecorder.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <future>
#include <thread>

#include <nlohmann/json.hpp>

#include "base/AudioBlock.h"
#include "base/HostTime.h"
#include "support/Ffprobe.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

constexpr int kWidth = 640;
constexpr int kHeight = 360;

using testing::number;
using testing::probe;
using testing::streamOf;

// Feeds `seconds` of frames and matching tone blocks in real time, as the
// frame clock and the audio tap feed the shared encoders. Frames come at 30
// fps, or `gaps` apart in turn (in frames of 30 fps); returns their times.
std::vector<double> feed(SharedEncoders& encoders, double seconds, const std::vector<int>& gaps = {1}) {
  AudioBlockPool blocks(2, 1024);
  const double start = hostTimeNow();
  double nextAudio = start;
  long sample = 0;
  std::vector<double> times;
  for (int i = 0, step = 0; i < static_cast<int>(seconds * 30); i += gaps[step++ % gaps.size()]) {
    const double t = start + i / 30.0;
    times.push_back(t);
    while (hostTimeNow() < t) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    auto frame = PixelBuffer::make(kWidth, kHeight);
    frame->fill(40, 120, static_cast<std::uint8_t>(i), 255);
    frame->setHostTime(t);
    encoders.feedVideo(ProgramRecorder::kCanvas, frame);
    while (nextAudio <= t) {
      auto block = blocks.acquire();
      for (std::uint32_t s = 0; s < 1024; ++s) {
        block->plane(0)[s] = block->plane(1)[s] =
            0.25f * static_cast<float>(std::sin(2 * M_PI * 440 * static_cast<double>(sample++) / 48000));
      }
      block->stamp(1024, 48000, nextAudio);
      encoders.feedAudio(block);
      nextAudio += 1024 / 48000.0;
    }
  }
  return times;
}

std::optional<std::filesystem::path> finished(ProgramRecorder& recorder) {
  std::promise<std::optional<std::filesystem::path>> done;
  recorder.finish([&](std::optional<std::filesystem::path> file) { done.set_value(file); });
  return done.get_future().get();
}

TEST(ProgramRecorder, RecordsH264AndAACAlignedForTheirDuration) {
  testing::TempDir dir;
  SharedEncoders encoders;
  ProgramRecorder recorder(encoders);
  std::string error;
  ASSERT_TRUE(recorder.start(dir / "program.mov", 30, kWidth, kHeight, ProgramRecorder::Quality::hevcHigh, true, &error))
      << error;
  EXPECT_TRUE(recorder.start(dir / "other.mov", 30, kWidth, kHeight, ProgramRecorder::Quality::hevcHigh, true, &error))
      << "a second start while recording changes nothing";
  feed(encoders, 3.0);
  const auto file = finished(recorder);
  ASSERT_TRUE(file);
  EXPECT_FALSE(std::filesystem::exists(dir / "other.mov"));
  const auto info = probe(*file);
  ASSERT_FALSE(info.is_null());
  const auto* video = streamOf(info, "video");
  const auto* audio = streamOf(info, "audio");
  ASSERT_TRUE(video && audio);
  EXPECT_EQ((*video)["codec_name"], recorder.videoEncoderName() == "libx264" ? "h264" : "hevc");
  EXPECT_EQ((*video)["width"], kWidth);
  EXPECT_EQ((*video)["height"], kHeight);
  EXPECT_EQ((*audio)["codec_name"], "aac");
  EXPECT_EQ((*audio)["sample_rate"], "48000");
  EXPECT_EQ((*audio)["channels"], 2);
  EXPECT_NEAR(number(info["format"]["duration"]), 3.0, 1.0 / 30 + 0.03);
  EXPECT_NEAR(number((*video)["start_time"]), number((*audio)["start_time"]), 1.0 / 30);
}

TEST(ProgramRecorder, UnevenFramesKeepTheirTimesAcrossFragments) {
  testing::TempDir dir;
  SharedEncoders encoders;
  ProgramRecorder recorder(encoders);
  ASSERT_TRUE(recorder.start(dir / "program.mov", 30, kWidth, kHeight, ProgramRecorder::Quality::hevcHigh, true, nullptr));
  // A loaded clock skips ticks: a fragment's last frame lasts anything up to three.
  const auto fed = feed(encoders, 6.5, {1, 2, 3, 2});
  const auto file = finished(recorder);
  ASSERT_TRUE(file);
  const auto written = testing::packetTimes(*file, "v", "pts_time");
  ASSERT_EQ(written.size(), fed.size());
  for (std::size_t i = 0; i < fed.size(); ++i) {
    EXPECT_NEAR(written[i], fed[i] - fed[0], 0.002) << "frame " << i;
  }
  const auto audio = testing::packetTimes(*file, "a", "pts_time");
  ASSERT_FALSE(audio.empty());
  EXPECT_LT(audio.front(), 1024 / 48000.0) << "the sound from the first frame on is kept";
}

TEST(ProgramRecorder, PauseIsCutOutOfTheFile) {
  testing::TempDir dir;
  SharedEncoders encoders;
  ProgramRecorder recorder(encoders);
  ASSERT_TRUE(recorder.start(dir / "program.mov", 30, kWidth, kHeight, ProgramRecorder::Quality::hevcHigh, true, nullptr));
  feed(encoders, 1.0);
  recorder.setPaused(true);
  feed(encoders, 1.0);  // not recorded
  recorder.setPaused(false);
  feed(encoders, 1.0);
  const auto file = finished(recorder);
  ASSERT_TRUE(file);
  EXPECT_NEAR(number(probe(*file)["format"]["duration"]), 2.0, 0.1);
}

TEST(ProgramRecorder, NothingToRecordOrNowhereToWriteGivesNoFile) {
  testing::TempDir dir;
  SharedEncoders encoders;
  ProgramRecorder recorder(encoders);
  ASSERT_TRUE(recorder.start(dir / "program.mov", 30, kWidth, kHeight, ProgramRecorder::Quality::hevcHigh, true, nullptr));
  auto block = std::make_shared<AudioBlock>(2, 1024);
  block->stamp(1024, 48000, hostTimeNow());
  encoders.feedAudio(block);  // sound before any frame
  EXPECT_FALSE(finished(recorder)) << "no frame, no recording";
  std::string error;
  EXPECT_FALSE(recorder.start("/proc/no-such-folder/program.mov", 30, kWidth, kHeight,
                              ProgramRecorder::Quality::hevcHigh, true, &error));
  EXPECT_FALSE(error.empty());
  EXPECT_FALSE(finished(recorder));
}

TEST(ProgramRecorder, ProResForEditing) {
  testing::TempDir dir;
  SharedEncoders encoders;
  ProgramRecorder recorder(encoders);
  ASSERT_TRUE(recorder.start(dir / "program.mov", 30, kWidth, kHeight, ProgramRecorder::Quality::proRes422, false, nullptr));
  feed(encoders, 0.5);
  const auto file = finished(recorder);
  ASSERT_TRUE(file);
  const auto info = probe(*file);
  EXPECT_EQ((*streamOf(info, "video"))["codec_name"], "prores");
  EXPECT_EQ(streamOf(info, "audio"), nullptr);
}

TEST(ProgramRecorder, KilledMidRecordingLeavesAllButTheLastFragment) {
  testing::TempDir dir;
  const auto path = dir / "program.mov";
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    SharedEncoders encoders;
    ProgramRecorder recorder(encoders);
    if (!recorder.start(path, 30, kWidth, kHeight, ProgramRecorder::Quality::hevcHigh, true, nullptr)) _exit(1);
    feed(encoders, 60.0);
    _exit(0);
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(5500));
  kill(child, SIGKILL);
  int status = 0;
  waitpid(child, &status, 0);
  const auto info = probe(path);
  ASSERT_FALSE(info.is_null()) << "ffprobe opens the file";
  const double duration = number(info["format"]["duration"]);
  EXPECT_GE(duration, 5.5 - 2.0 - 0.5) << "at most the last 2 s fragment is lost";
  EXPECT_TRUE(streamOf(info, "audio"));
}

}  // namespace
}  // namespace tavorin

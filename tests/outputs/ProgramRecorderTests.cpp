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

// Feeds `seconds` of frames at 30 fps and matching tone blocks in real time.
void feed(ProgramRecorder& recorder, double seconds) {
  auto frame = PixelBuffer::make(kWidth, kHeight);
  frame->fill(40, 120, 200, 255);
  auto tone = std::make_shared<AudioBlock>(2, 1024);
  const double start = hostTimeNow();
  double nextAudio = start;
  long sample = 0;
  for (int i = 0; i < static_cast<int>(seconds * 30); ++i) {
    const double t = start + i / 30.0;
    while (hostTimeNow() < t) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    frame->markRewritten();
    frame->setHostTime(t);
    recorder.appendVideo(frame);
    while (nextAudio <= t) {
      for (std::uint32_t s = 0; s < 1024; ++s) {
        tone->plane(0)[s] = tone->plane(1)[s] =
            0.25f * static_cast<float>(std::sin(2 * M_PI * 440 * static_cast<double>(sample++) / 48000));
      }
      tone->stamp(1024, 48000, nextAudio);
      recorder.appendAudio(tone);
      nextAudio += 1024 / 48000.0;
    }
  }
}

std::optional<std::filesystem::path> finished(ProgramRecorder& recorder) {
  std::promise<std::optional<std::filesystem::path>> done;
  recorder.finish([&](std::optional<std::filesystem::path> file) { done.set_value(file); });
  return done.get_future().get();
}

TEST(ProgramRecorder, RecordsH264AndAACAlignedForTheirDuration) {
  testing::TempDir dir;
  ProgramRecorder recorder;
  std::string error;
  ASSERT_TRUE(recorder.start(dir / "program.mov", 30, kWidth, kHeight, ProgramRecorder::Quality::hevcHigh, true, &error))
      << error;
  EXPECT_TRUE(recorder.start(dir / "other.mov", 30, kWidth, kHeight, ProgramRecorder::Quality::hevcHigh, true, &error))
      << "a second start while recording changes nothing";
  feed(recorder, 3.0);
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

TEST(ProgramRecorder, PauseIsCutOutOfTheFile) {
  testing::TempDir dir;
  ProgramRecorder recorder;
  ASSERT_TRUE(recorder.start(dir / "program.mov", 30, kWidth, kHeight, ProgramRecorder::Quality::hevcHigh, true, nullptr));
  feed(recorder, 1.0);
  recorder.setPaused(true);
  feed(recorder, 1.0);  // not recorded
  recorder.setPaused(false);
  feed(recorder, 1.0);
  const auto file = finished(recorder);
  ASSERT_TRUE(file);
  EXPECT_NEAR(number(probe(*file)["format"]["duration"]), 2.0, 0.1);
}

TEST(ProgramRecorder, NothingToRecordOrNowhereToWriteGivesNoFile) {
  testing::TempDir dir;
  ProgramRecorder recorder;
  ASSERT_TRUE(recorder.start(dir / "program.mov", 30, kWidth, kHeight, ProgramRecorder::Quality::hevcHigh, true, nullptr));
  auto mono = std::make_shared<AudioBlock>(1, 1024);
  mono->stamp(1024, 48000, hostTimeNow());
  recorder.appendAudio(mono);  // before any frame
  EXPECT_FALSE(finished(recorder)) << "no frame, no recording";
  std::string error;
  EXPECT_FALSE(recorder.start("/proc/no-such-folder/program.mov", 30, kWidth, kHeight,
                              ProgramRecorder::Quality::hevcHigh, true, &error));
  EXPECT_FALSE(error.empty());
  EXPECT_FALSE(finished(recorder));
}

TEST(ProgramRecorder, ProResForEditing) {
  testing::TempDir dir;
  ProgramRecorder recorder;
  ASSERT_TRUE(recorder.start(dir / "program.mov", 30, kWidth, kHeight, ProgramRecorder::Quality::proRes422, false, nullptr));
  feed(recorder, 0.5);
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
    ProgramRecorder recorder;
    if (!recorder.start(path, 30, kWidth, kHeight, ProgramRecorder::Quality::hevcHigh, true, nullptr)) _exit(1);
    feed(recorder, 60.0);
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

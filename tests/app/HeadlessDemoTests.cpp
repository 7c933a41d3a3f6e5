#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include <cmath>
#include <sstream>

#include "platform/media/ImageDecoder.h"
#include "support/ChildProcess.h"
#include "support/Ffprobe.h"
#include "support/ScopedEnvironment.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::readFile;
using testing::runProcess;
using testing::TempDir;

TEST(HeadlessDemo, RunsTakesRecordsAndWritesTheProgramSnapshot) {
  TempDir show;
  const auto snapshot = show.path() / "p.png";
  const auto log = show.path() / "stderr.txt";
  const auto recordings = show.path() / "recordings";
  // No PipeWire to reach, whatever the machine runs: Program audio has no device.
  testing::ScopedEnvironment environment;
  environment.set("XDG_RUNTIME_DIR", show.path().string());
  environment.set("PIPEWIRE_RUNTIME_DIR", std::nullopt);
  environment.set("PIPEWIRE_REMOTE", std::nullopt);
  const std::optional<int> status =
      runProcess({TAVORIN_EXECUTABLE, "--headless", "--show-dir", show.path().string(), "--demo", "--take-every", "1",
                  "--seconds", "3.5", "--snapshot", snapshot.string(), "--record", "--recordings-dir",
                  recordings.string()},
                 log, 60);
  const std::string text = readFile(log);
  ASSERT_EQ(status, std::optional<int>(0)) << text;
  EXPECT_NE(text.find("Demo show: take with crossfade"), std::string::npos) << text;
  EXPECT_NE(text.find("Measured "), std::string::npos) << text;
  EXPECT_NE(text.find("Recording saved: Tavorin-"), std::string::npos) << text;
  // The Program mix runs on the host clock and the demo tone is recorded.
  EXPECT_NE(text.find("Program audio runs without an output device."), std::string::npos) << text;

  // The recording was finished on quit: one folder, one movie of the canvas size.
  ASSERT_EQ(testing::entriesIn(recordings), 1u);
  const auto movie = std::filesystem::directory_iterator(recordings)->path() / "program.mov";
  const auto info = testing::probe(movie);
  const auto* video = testing::streamOf(info, "video");
  ASSERT_TRUE(video) << info.dump();
  EXPECT_EQ((*video)["width"], 1920);
  EXPECT_EQ((*video)["height"], 1080);
  EXPECT_GT(testing::number(info["format"]["duration"]), 2.0) << info.dump();
  EXPECT_GT(testing::meanVolume(movie).value_or(-200), -40) << "the tone is in the file, not silence";

  DecodedImage image = decodeImageFile(snapshot);
  ASSERT_TRUE(image.buffer) << image.error;
  EXPECT_EQ(image.buffer->width(), 1920);
  EXPECT_EQ(image.buffer->height(), 1080);
  // Every demo scene shows its logo somewhere: the picture is not all black.
  int lit = 0;
  for (int y = 0; y < image.buffer->height(); y += 8) {
    const std::uint8_t* row = image.buffer->row(y);
    for (int x = 0; x < image.buffer->width(); x += 8) lit += row[4 * x] + row[4 * x + 1] + row[4 * x + 2] > 90;
  }
  EXPECT_GT(lit, 100);
}

TEST(HeadlessSyncTest, RecordsAWhiteFlashOnEverySecond) {
  TempDir show;
  const auto log = show.path() / "stderr.txt";
  const auto recordings = show.path() / "recordings";
  const std::optional<int> status =
      runProcess({TAVORIN_EXECUTABLE, "--headless", "--show-dir", show.path().string(), "--sync-test", "--seconds", "6",
                  "--record", "--recordings-dir", recordings.string()},
                 log, 60);
  const std::string text = readFile(log);
  ASSERT_EQ(status, std::optional<int>(0)) << text;
  EXPECT_NE(text.find("Sync test on Program"), std::string::npos) << text;
  ASSERT_EQ(testing::entriesIn(recordings), 1u);

  const auto levels = testing::frameLuma(std::filesystem::directory_iterator(recordings)->path() / "program.mov");
  ASSERT_GT(levels.size(), 30u);
  // Each flash lights a run of frames as long as one sync-test frame, and the
  // runs start whole seconds apart. A Program slower than 30 fps (two cores,
  // software GL and x264, sanitizers) may miss a flash, so not every second
  // need have one; six seconds leave it several chances.
  const auto flashes = testing::flashTimes(levels);
  const auto bright = std::count_if(levels.begin(), levels.end(), [](const auto& level) { return level.second >= 200; });
  ASSERT_GE(flashes.size(), 1u);
  for (std::size_t i = 1; i < flashes.size(); ++i) {
    const double apart = flashes[i] - flashes[i - 1];
    EXPECT_GE(apart, 0.9);
    EXPECT_NEAR(apart, std::round(apart), 0.1) << flashes[i - 1] << " then " << flashes[i];
  }
  EXPECT_LE(static_cast<std::size_t>(bright), flashes.size() * 3) << "dark between flashes";

  // Each flash has its beep: the sound is placed by when it was made, not
  // when it played. A Program frame may show the flash up to a tick late;
  // sound placed by play time would come 50–70 ms after its flash.
  const auto movie = std::filesystem::directory_iterator(recordings)->path() / "program.mov";
  const auto onsets = testing::soundOnsets(movie);
  ASSERT_GE(onsets.size(), 3u) << "a beep each second";
  int checked = 0;
  for (const double flash : flashes) {
    // The sound may start a little after the picture on a loaded machine.
    if (flash < onsets.front() - 0.5) continue;
    const auto nearest = *std::min_element(onsets.begin(), onsets.end(), [&](double a, double b) {
      return std::fabs(a - flash) < std::fabs(b - flash);
    });
    EXPECT_GE(flash - nearest, -0.04) << "flash at " << flash;
    // Late by at most a slow Program tick (the sanitizer build composes at a few frames a second).
    EXPECT_LE(flash - nearest, 0.2) << "flash at " << flash;
    ++checked;
  }
  EXPECT_GE(checked, 1);
}

TEST(HeadlessDemo, BadDemoFlagsAreUsageErrors) {
  TempDir show;
  const auto log = show.path() / "stderr.txt";
  const std::pair<std::vector<std::string>, std::string> cases[] = {{{"--demo", "--take-every", "0"}, "--take-every"},
                                                                    {{"--demo", "--sync-test"}, "pick one"}};
  for (const auto& [flags, named] : cases) {
    std::vector<std::string> argv = {TAVORIN_EXECUTABLE, "--headless"};
    argv.insert(argv.end(), flags.begin(), flags.end());
    EXPECT_EQ(runProcess(argv, log, 20), std::optional<int>(2)) << named;
    EXPECT_NE(readFile(log).find(named), std::string::npos) << readFile(log);
  }
}

}  // namespace
}  // namespace tavorin

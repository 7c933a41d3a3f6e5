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
  // The recording is what makes Program drawn headless: seconds of it, however slow the machine.
  EXPECT_GE(testing::packetTimes(movie, "v").size(), 10u);
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

TEST(HeadlessDemo, BadDemoFlagsAreUsageErrors) {
  TempDir show;
  const auto log = show.path() / "stderr.txt";
  const std::pair<std::vector<std::string>, std::string> cases[] = {{{"--demo", "--take-every", "0"}, "--take-every"},
                                                                    {{"--demo", "--sync-test"}, "pick one"},
                                                                    {{"--sync-test", "--clip", "a.mov"}, "pick one"},
                                                                    {{"--clip"}, "--clip needs a media file"}};
  for (const auto& [flags, named] : cases) {
    std::vector<std::string> argv = {TAVORIN_EXECUTABLE, "--headless"};
    argv.insert(argv.end(), flags.begin(), flags.end());
    EXPECT_EQ(runProcess(argv, log, 20), std::optional<int>(2)) << named;
    EXPECT_NE(readFile(log).find(named), std::string::npos) << readFile(log);
  }
}

}  // namespace
}  // namespace tavorin

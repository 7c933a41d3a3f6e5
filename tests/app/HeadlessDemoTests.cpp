#include <gtest/gtest.h>

#include "platform/media/ImageDecoder.h"
#include "support/ChildProcess.h"
#include "support/Ffprobe.h"
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

  // The recording was finished on quit: one folder, one movie of the canvas size.
  ASSERT_EQ(testing::entriesIn(recordings), 1u);
  const auto info = testing::probe(std::filesystem::directory_iterator(recordings)->path() / "program.mov");
  const auto* video = testing::streamOf(info, "video");
  ASSERT_TRUE(video) << info.dump();
  EXPECT_EQ((*video)["width"], 1920);
  EXPECT_EQ((*video)["height"], 1080);
  EXPECT_GT(testing::number(info["format"]["duration"]), 2.0) << info.dump();

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

TEST(HeadlessDemo, BadTakeIntervalIsAUsageError) {
  TempDir show;
  const auto log = show.path() / "stderr.txt";
  EXPECT_EQ(runProcess({TAVORIN_EXECUTABLE, "--headless", "--demo", "--take-every", "0"}, log, 20), std::optional<int>(2));
  EXPECT_NE(readFile(log).find("--take-every"), std::string::npos);
}

}  // namespace
}  // namespace tavorin

// The sync-test show recorded and streamed while its audio restarts and its
// server dies and comes back: in the file and in the stream, before and after
// the reconnect, every flash has its beep within one frame and 10 ms.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include "peers/NginxRtmp.h"
#include "support/ChildProcess.h"
#include "support/Ffprobe.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

constexpr double kTolerance = 1.0 / 30 + 0.010;

void checkOffsets(const std::filesystem::path& file, std::size_t atLeast) {
  SCOPED_TRACE(file.filename().string());
  const auto pairs = testing::flashBeepOffsets(file);
  // A Program slower than 30 fps (two cores, software GL, sanitizers) may
  // miss a flash, so not every second need have one.
  EXPECT_GE(pairs.size(), atLeast);
  for (const auto& pair : pairs) {
    EXPECT_NEAR(pair.offset, 0, kTolerance) << "flash at " << pair.at;
  }
}

TEST(HeadlessSync, FlashAndBeepStayTogetherThroughAnAudioRestartAndAReconnect) {
  testing::NginxRtmp nginx;
  testing::TempDir show;
  const auto log = show.path() / "stderr.txt";
  const auto recordings = show.path() / "recordings";
  testing::ChildProcess app({TAVORIN_EXECUTABLE, "--headless", "--show-dir", show.path().string(), "--sync-test",
                             "--seconds", "24", "--record", "--recordings-dir", recordings.string(), "--stream",
                             nginx.url("live") + "/sync"},
                            log);
  std::this_thread::sleep_for(std::chrono::seconds(6));
  app.signal(SIGUSR1);
  std::this_thread::sleep_for(std::chrono::seconds(6));
  // The server's recording starts over when the stream comes back: keep the first one.
  const auto beforeReconnect = show.path() / "before-reconnect.flv";
  std::filesystem::copy_file(nginx.recording("live", "sync"), beforeReconnect);
  nginx.restart();
  ASSERT_EQ(app.wait(60), std::optional<int>(0)) << testing::readFile(log);

  const std::string text = testing::readFile(log);
  for (const char* line : {"Sync test on Program", "Restarting audio", "the connection closed"}) {
    EXPECT_NE(text.find(line), std::string::npos) << line << "\n" << text;
  }
  ASSERT_EQ(testing::entriesIn(recordings), 1u);
  checkOffsets(std::filesystem::directory_iterator(recordings)->path() / "program.mov", 6);
  checkOffsets(beforeReconnect, 3);
  // The reconnect's back-off leaves the last stream the fewest seconds, fewer still under sanitizers.
  checkOffsets(nginx.recording("live", "sync"), 2);
}

}  // namespace
}  // namespace tavorin

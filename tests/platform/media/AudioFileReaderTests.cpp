#include "platform/media/AudioFileReader.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "support/ChildProcess.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

TEST(AudioFileReaderTests, CompressedFilesComeBackWhole) {
  testing::TempDir dir;
  // One second of 440 Hz at 44.1 kHz; the compressed formats may gain or lose a frame at the ends.
  const struct {
    const char* file;
    int channels;
    std::uint32_t tolerance;
  } cases[] = {{"tone.m4a", 2, 1024}, {"tone.mp3", 1, 1152}, {"tone.wav", 2, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.file);
    ASSERT_EQ(testing::runProcess(
                  {testing::findProgram("ffmpeg", "ffmpeg"), "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i",
                   "sine=frequency=440:sample_rate=44100:duration=1", "-ac", std::to_string(c.channels), dir / c.file},
                  dir / "ffmpeg.log"),
              0)
        << testing::logTail(dir / "ffmpeg.log");
    const auto pcm = readAudioFile(dir / c.file);
    ASSERT_TRUE(pcm);
    EXPECT_EQ(pcm->sampleRate, 44100);
    EXPECT_EQ(pcm->channelCount(), c.channels);
    EXPECT_LE(std::abs(static_cast<int>(pcm->frameLength) - 44100), static_cast<int>(c.tolerance));
    for (const auto& plane : pcm->planes) {
      ASSERT_EQ(plane.size(), pcm->frameLength);
      EXPECT_GT(meterLevel(plane.data(), pcm->frameLength), 0.05f);
    }
  }
}

TEST(AudioFileReaderTests, FilesWithoutSoundGiveNothing) {
  testing::TempDir dir;
  testing::writeFile(dir / "garbage.mp3", std::string(4096, '\x5a'));
  testing::writeFile(dir / "empty.wav", "");
  for (const char* file : {"garbage.mp3", "empty.wav", "missing.wav"}) EXPECT_FALSE(readAudioFile(dir / file)) << file;
}

}  // namespace
}  // namespace tavorin

#include "app/SoundEffects.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "support/ManualMainQueue.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

class SoundEffectsTest : public ::testing::Test {
 protected:
  SoundEffectsTest() {
    for (int i = 0; i < 500 && !sounds.store.seeded.get(); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
      queue.runUntilIdle();
    }
  }
  Uuid sound(const std::string& name) const {
    for (const SFXItem& item : sounds.store.sounds.get()) {
      if (item.name == name) return item.id;
    }
    ADD_FAILURE() << name;
    return {};
  }
  // Pulls Program block by block as a device would, the clock moving with it;
  // the first frame that carried sound, or -1.
  long firstSoundFrame(long frames) {
    std::vector<float> left(kProgramBlockFrames), right(kProgramBlockFrames);
    for (long at = 0; at < frames; at += kProgramBlockFrames) {
      mixer.programBus().render(left.data(), right.data(), kProgramBlockFrames);
      for (std::uint32_t i = 0; i < kProgramBlockFrames; ++i) {
        if (left[i] != 0.0f) return at + i;
      }
      queue.advance(static_cast<double>(kProgramBlockFrames) / kCommonSampleRate);
    }
    return -1;
  }

  testing::TempDir dir;
  testing::ManualMainQueue queue;
  AudioMixerEngine mixer{queue, MixerSettings{}, nullptr, dir / "audio.log"};
  std::vector<std::string> logged;
  SoundEffects sounds{queue, ShowFolder(dir.path()), mixer, [this](const std::string& line) { logged.push_back(line); }};
};

TEST_F(SoundEffectsTest, ATransitionSoundStartsAtItsDelayWithinOneBlock) {
  ASSERT_EQ(sounds.store.sounds->size(), 15u);
  const struct {
    double delay;
    long expected;  // frames from the take
  } cases[] = {{0.0, 0}, {0.5, 24000}, {1.25, 60000}};
  for (const auto& c : cases) {
    sounds.stopAll();
    firstSoundFrame(kProgramBlockFrames);  // the stop reaches the buses
    sounds.playTransitionSound(TransitionSound{.soundID = sound("Beep"), .delay = c.delay});
    const long heard = firstSoundFrame(90000);
    ASSERT_GE(heard, 0) << c.delay;
    EXPECT_LE(std::labs(heard - c.expected), static_cast<long>(kProgramBlockFrames)) << c.delay;
  }
  sounds.stopAll();
  sounds.playTransitionSound(TransitionSound{.soundID = Uuid::make()});
  EXPECT_FALSE(mixer.sfxPlaying.get()) << "a sound gone from the library is skipped";
}

TEST_F(SoundEffectsTest, TilesPlayRestartStopAndLoop) {
  const Uuid beep = sound("Beep");  // 0.18 s
  sounds.playTile(beep, SoundTileMode::stop);
  EXPECT_TRUE(mixer.sfxPlaying.get());
  EXPECT_EQ(logged.back(), "Pick a Program output or a monitor output in the audio mixer to hear sound effects.");
  sounds.playTile(beep, SoundTileMode::stop);
  EXPECT_FALSE(mixer.sfxPlaying.get()) << "a second press stops it";
  EXPECT_FALSE(sounds.nowPlayingID.get());

  sounds.playTile(beep, SoundTileMode::loop);
  for (int i = 0; i < 20; ++i) queue.advance(0.1);
  EXPECT_TRUE(mixer.sfxPlaying.get()) << "started again each time it ended";
  EXPECT_EQ(sounds.nowPlayingID.get(), beep);
  sounds.playTile(beep, SoundTileMode::loop);
  EXPECT_FALSE(mixer.sfxPlaying.get());
  EXPECT_FALSE(sounds.loopingID);

  sounds.playTile(beep, SoundTileMode::restart);
  queue.advance(0.5);
  EXPECT_FALSE(mixer.sfxPlaying.get()) << "played once";
  sounds.playTile(Uuid::make(), SoundTileMode::restart);
  EXPECT_FALSE(mixer.sfxPlaying.get());
}

}  // namespace
}  // namespace tavorin

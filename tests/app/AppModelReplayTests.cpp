#include <gtest/gtest.h>

#include "app/AppModel.h"
#include "support/ManualMainQueue.h"
#include "support/ReplayFill.h"
#include "support/TempDir.h"
#include "support/WaitFor.h"

namespace tavorin {
namespace {

// Runs the main queue until a save's answer has been logged.
std::string saveAndWait(AppModel& model, testing::ManualMainQueue& queue) {
  const std::size_t before = model.log->size();
  model.saveReplay();
  std::string answer;
  EXPECT_TRUE(testing::waitFor([&] {
    queue.runUntilIdle();
    for (std::size_t i = before; i < model.log->size(); ++i) {
      if (model.log->at(i).starts_with("Replay sav")) answer = model.log->at(i);
    }
    return answer.starts_with("Replay saved") || answer.starts_with("Replay save failed");
  }, 30));
  return answer;
}

TEST(AppModelReplay, ASavedReplayBecomesAClipThatTheReplayCuePlaysOverProgramAndTheSettingsStay) {
  testing::TempDir show;
  testing::ManualMainQueue queue;
  std::string clipID;
  {
    AppModel model(AppEnvironment{show.path(), show / "preferences.json", queue});
    model.start();
    queue.runUntilIdle();
    model.playReplay();
    EXPECT_EQ(model.log->back(), "No replay to play yet — save one first.");

    // As the frame clock's start does; the pictures then come straight to the buffer.
    model.replays.start();
    model.replay.settle();
    testing::fillReplay(model.replay, 4, 320, 180, 500, 502);
    EXPECT_TRUE(saveAndWait(model, queue).starts_with("Replay saved: Replay ")) << model.log->back();
    ASSERT_TRUE(model.replays.lastSaved.get());
    const auto file = *model.replays.lastSaved.get();
    EXPECT_EQ(file.parent_path(), show / "Replays");
    EXPECT_EQ(file.extension(), ".mov");

    // The clip plays the file where it is, and the cue shows it full-canvas until it ends.
    const auto cue = model.fireGraphics.store.find(AppModel::kReplayCueID);
    ASSERT_TRUE(cue && cue->sourceID);
    clipID = *cue->sourceID;
    const auto* clip = model.findClip(clipID);
    ASSERT_TRUE(clip);
    EXPECT_EQ(clipID, LoopingVideoSource::idFor(file.string())) << "the file where it stands, not a copy";
    EXPECT_EQ(cue->size, (Size{1, 1}));
    EXPECT_NEAR(cue->durationSeconds, 4 - cue->exitDuration, 0.1);
    model.playReplay();
    EXPECT_TRUE(model.fireGraphics.activeFireIDs->contains(AppModel::kReplayCueID));

    // Without the clip the file is still written, and the cue keeps the replay it had.
    model.replays.setAddsClip(false);
    model.replays.setDuration(120);
    const std::size_t sources = model.sources->size();
    EXPECT_TRUE(saveAndWait(model, queue).starts_with("Replay saved: "));
    EXPECT_EQ(model.sources->size(), sources);
    EXPECT_EQ(model.fireGraphics.store.find(AppModel::kReplayCueID)->sourceID, clipID);

    model.replays.setEnabled(false);
    model.saveReplay();
    EXPECT_EQ(model.log->back(), "Replay buffer is off — enable it in Settings → General.");
    model.replay.settle();
    EXPECT_FALSE(model.replay.encoding());
  }
  AppModel model(AppEnvironment{show.path(), show / "preferences.json", queue});
  EXPECT_FALSE(model.replays.enabled.get());
  EXPECT_EQ(model.replays.duration.get(), 120);
  EXPECT_FALSE(model.replays.addsClip.get());
}

}  // namespace
}  // namespace tavorin

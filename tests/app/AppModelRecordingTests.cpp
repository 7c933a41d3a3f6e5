#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "app/AppModel.h"
#include "base/HostTime.h"
#include "support/Ffprobe.h"
#include "support/ManualMainQueue.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::ManualMainQueue;
using testing::TempDir;

class AppModelRecordingTest : public ::testing::Test {
 protected:
  std::unique_ptr<AppModel> makeModel(std::filesystem::path fallback) {
    AppEnvironment environment{show.path(), show / "preferences.json", queue};
    environment.recordingsFallback = std::move(fallback);
    auto model = std::make_unique<AppModel>(environment);
    model->start();
    return model;
  }

  // Waits for the recorder's completion to reach the main queue.
  void runUntil(const std::function<bool()>& done) {
    for (int i = 0; i < 500 && !done(); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
      queue.runUntilIdle();
    }
  }

  TempDir show;
  ManualMainQueue queue;
};

TEST_F(AppModelRecordingTest, UnwritableRecordingsFolderIsReportedAndTheShowGoesOn) {
  // A path below a plain file cannot be made, not even by root.
  testing::writeFile(show / "not-a-folder", "x");
  auto model = makeModel(show / "not-a-folder" / "fallback");
  model->recordingsFolderPath = (show / "not-a-folder" / "chosen").string();
  model->startRecording();
  EXPECT_FALSE(model->recording.isRecording.get());
  EXPECT_EQ(model->log->back().rfind("Could not start recording: ", 0), 0u) << model->log->back();
  model->startLoopCapture(1);  // the show is still there to command
  EXPECT_TRUE(model->recording.isCapturingLoop.get());
}

TEST_F(AppModelRecordingTest, LoopCaptureRecordsAClipAndAddsItToTheShow) {
  auto model = makeModel(show / "Recordings");
  model->startLoopCapture(1);
  ASSERT_TRUE(model->recording.isCapturingLoop.get());
  EXPECT_EQ(model->log->back(), "Capturing 1s loop…");
  model->startRecording();
  EXPECT_FALSE(model->recording.isRecording.get()) << "a recording waits for the loop";

  const double start = hostTimeNow();
  for (int i = 0; i < 30; ++i) {
    auto frame = PixelBuffer::make(1920, 1080);
    frame->fill(10, 200, 30, 255);
    frame->setHostTime(start + i / 30.0);
    model->encoders.feedVideo(ProgramRecorder::kCanvas, frame);
    // As a frame clock would: the encoder's queue holds a few frames, not a second of them.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  queue.advance(1.0);
  runUntil([&] { return !model->recording.isCapturingLoop.get(); });
  ASSERT_FALSE(model->recording.isCapturingLoop.get());

  const auto saved = model->sourcesStore.saved.get();
  ASSERT_EQ(saved.size(), 1u);
  const auto& clip = saved.front();
  EXPECT_EQ(clip.kind, SavedSource::Kind::clip);
  EXPECT_EQ(clip.id, "clip:" + *clip.filePath);
  EXPECT_EQ(std::filesystem::path(*clip.filePath).parent_path(), show / "Clips");
  EXPECT_EQ(clip.name.rfind("loop-", 0), 0u);
  EXPECT_EQ(model->log->back(), "Loop saved to Media as “" + clip.name + "”");
  const auto info = testing::probe(std::filesystem::path(*clip.filePath));
  ASSERT_NE(testing::streamOf(info, "video"), nullptr);
  EXPECT_EQ(testing::streamOf(info, "audio"), nullptr) << "loops have no sound";
}

TEST_F(AppModelRecordingTest, LoopWithoutFramesFails) {
  auto model = makeModel(show / "Recordings");
  model->startLoopCapture(0.5);
  queue.advance(0.5);
  runUntil([&] { return !model->recording.isCapturingLoop.get(); });
  EXPECT_EQ(model->log->back(), "Loop capture failed.");
  EXPECT_TRUE(model->sourcesStore.saved->empty());
}

}  // namespace
}  // namespace tavorin

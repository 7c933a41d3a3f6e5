#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "app/AppModel.h"
#include "app/StatusLine.h"
#include "base/HostTime.h"
#include "peers/ScriptedRTMPServer.h"
#include "stores/PreferenceKeys.h"
#include "support/Ffprobe.h"
#include "support/GeneratedPublisher.h"
#include "support/ManualMainQueue.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::ManualMainQueue;
using testing::ScriptedPeer;
using testing::ScriptedRTMPServer;
using testing::TempDir;

class AppModelRecordingTest : public ::testing::Test {
 protected:
  std::unique_ptr<AppModel> makeModel(std::filesystem::path fallback,
                                      std::function<void(const std::filesystem::path&)> reveal = {}) {
    AppEnvironment environment{show.path(), show / "preferences.json", queue};
    environment.recordingsFallback = std::move(fallback);
    environment.revealInFileManager = std::move(reveal);
    auto model = std::make_unique<AppModel>(std::move(environment));
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

  // A second of 1080p Program, paced as a frame clock would.
  static void feedProgram(AppModel& model) {
    const double start = hostTimeNow();
    for (int i = 0; i < 30; ++i) {
      auto frame = PixelBuffer::make(1920, 1080);
      frame->fill(10, 200, 30, 255);
      frame->setHostTime(start + i / 30.0);
      model.encoders.feedVideo(ProgramRecorder::kCanvas, frame);
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  }

  TempDir show;
  ManualMainQueue queue;
};

TEST_F(AppModelRecordingTest, StatsTickCountsRecordedSecondsWithoutThePauses) {
  auto model = makeModel(show / "Recordings");
  const StatusStats& stats = model->stats;
  EXPECT_EQ(stats.fps.get(), 0) << "no frame clock in this test";
  EXPECT_EQ(stats.liveSeconds.get(), -1);
  EXPECT_EQ(stats.liveStreamCount.get(), 0);
  EXPECT_GT(stats.diskFreePercent.get(), 0) << "read once at start";
  EXPECT_LE(stats.diskFreePercent.get(), 100);
  std::vector<int> published;
  auto watch = model->stats.recordingSeconds.subscribe([&](int seconds) { published.push_back(seconds); });

  model->startRecording();
  ASSERT_TRUE(model->recording.isRecording.get());
  EXPECT_EQ(stats.recordingSeconds.get(), 0) << "at once, not at the next tick";
  struct Step {
    const char* what;
    bool paused;
    double seconds;
    int recorded;
  };
  for (const Step& step : {Step{"recording", false, 3, 3}, Step{"paused", true, 5, 3},
                           Step{"resumed", false, 2.5, 5}, Step{"paused again", true, 1, 5}}) {
    SCOPED_TRACE(step.what);
    model->setRecordingPaused(step.paused);
    queue.advance(step.seconds);
    EXPECT_EQ(stats.recordingSeconds.get(), step.recorded);
  }
  // What a terminal reads of it without a window.
  const std::string line = StatusLine(*model).next();
  EXPECT_NE(line.find(", dropped frames: recording 0; recording 0:00:05 (paused), not live"), std::string::npos) << line;
  model->stopRecording();
  runUntil([&] { return !model->recording.isRecording.get(); });
  EXPECT_EQ(stats.recordingSeconds.get(), -1);
  EXPECT_EQ(published, (std::vector<int>{0, 1, 2, 3, 4, 5, -1})) << "a figure is published only when it changes";
}

// A change of what Program is (its size or its rate) closes the file opened
// before it, which then plays whole at what it was opened with.
TEST_F(AppModelRecordingTest, PictureChangesCloseTheRecordingFirstAndSayWhy) {
  std::vector<std::filesystem::path> revealed;
  auto model = makeModel(show / "Recordings", [&](const std::filesystem::path& item) { revealed.push_back(item); });
  struct Change {
    std::function<void()> apply;
    std::string_view key, stored;
    std::string ended;
  };
  const Change changes[] = {
      {[&] { model->setCanvasSize(CanvasSize::qhd1440); }, prefkey::canvasSize, "\"qhd1440\"",
       "Recording ended: the canvas changed to 2560×1440."},
      {[&] { model->setFrameRate(25); }, prefkey::frameRate, "25", "Recording ended: the frame rate changed to 25 fps."},
  };
  for (const Change& change : changes) {
    SCOPED_TRACE(change.ended);
    model->startRecording();
    ASSERT_TRUE(model->recording.isRecording.get());
    const auto folder = *model->recording.currentFolder.get();
    const double width = pixelSize(model->canvasSize.get()).width;
    feedProgram(*model);
    change.apply();
    EXPECT_EQ(Preferences(show / "preferences.json").getJSON(change.key).value_or(Json()).dump(), change.stored);
    runUntil([&] { return !model->recording.isRecording.get(); });
    ASSERT_FALSE(model->recording.isRecording.get());
    const auto& log = model->log.get();
    ASSERT_GE(log.size(), 2u);
    EXPECT_EQ(log[log.size() - 2], "Recording saved: " + folder.filename().string());
    EXPECT_EQ(log.back(), change.ended);
    EXPECT_EQ(revealed.back(), folder) << "the saved recording is shown in the file manager";
    const auto info = testing::probe(folder / "program.mov");
    const auto* video = testing::streamOf(info, "video");
    ASSERT_NE(video, nullptr);
    EXPECT_EQ((*video)["width"], width) << "the file keeps the size it was opened at";
  }
  EXPECT_EQ(model->canvasSize.get(), CanvasSize::qhd1440);
  EXPECT_EQ(model->frameRate.get(), 25);
  model->setFrameRate(27);
  EXPECT_EQ(model->frameRate.get(), 25) << "a rate not on offer is ignored";

  // A recording that yields no file is not shown anywhere.
  model->startRecording();
  EXPECT_EQ(model->encoders.videoRates().at(std::string(ProgramRecorder::kCanvas)), 25);
  model->stopRecording();
  runUntil([&] { return !model->recording.isRecording.get(); });
  EXPECT_EQ(model->log->back(), "Recording failed to finalize.");
  EXPECT_EQ(revealed.size(), 2u);
}

// Quitting never waits longer than its bound for outputs that cannot close:
// here a recording whose file is a pipe nobody reads (its first write never
// returns) and a stream whose server stopped reading.
TEST_F(AppModelRecordingTest, QuitReturnsInTimeWhileTheDiskAndTheServerStall) {
  std::atomic<bool> released{false};
  ScriptedRTMPServer stalled(
      [&](ScriptedPeer& peer) {
        if (!peer.acceptPublish()) return;
        while (!released && !peer.clientGone()) std::this_thread::sleep_for(std::chrono::milliseconds(20));
      },
      16 * 1024);
  auto model = makeModel(show / "Recordings");
  model->goLive(stalled.url() + "/show");
  runUntil([&] { return model->streaming.liveDestinations().size() == 1; });
  ASSERT_EQ(model->streaming.liveDestinations().size(), 1u);
  model->startRecording();
  ASSERT_TRUE(model->recording.isRecording.get());
  const auto file = *model->recording.currentFolder.get() / "program.mov";
  std::filesystem::remove(file);
  ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);

  testing::PublishRequest request;
  request.seconds = 3;
  testing::feedGenerated(
      request, [&](const FrameRef& frame) { model->encoders.feedVideo("main", frame); },
      [&](const AudioBlockRef& block) { model->encoders.feedAudio(block); });

  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(model->willTerminate()) << "the recording cannot have closed";
  const double took = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  EXPECT_LT(took, 4.0);
  EXPECT_GE(took, AppModel::kQuitCloseSeconds - 0.1) << "the recording had its time to close";
  EXPECT_TRUE(std::filesystem::exists(show / "session.json"));

  // The stuck writer is let go, so the test can end: a reader drains the pipe and the server lets go.
  released = true;
  std::thread reader([&file] {
    const int fd = ::open(file.c_str(), O_RDONLY);
    char bytes[65536];
    while (fd >= 0 && ::read(fd, bytes, sizeof bytes) > 0) {
    }
    if (fd >= 0) ::close(fd);
  });
  model.reset();
  reader.join();
}

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
  ASSERT_TRUE(model->sourceLifecycle.find(clip.id)) << "the loop plays as a clip in the show";
  EXPECT_EQ(model->sourceLifecycle.find(clip.id)->kind(), SourceKind::clip);
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

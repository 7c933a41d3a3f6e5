// Recording Program: where it goes, what the operator reads about it, and the
// mixer's Program mix joining the recorder while it runs.
#include <cstdio>
#include <future>

#include "app/AppModel.h"
#include "stores/PreferenceKeys.h"
#include "stores/RecordingsRoot.h"
#include "stores/TimeStamp.h"

namespace tavorin {

namespace {

constexpr int kRecordingFrameRate = 30;

}  // namespace

std::filesystem::path AppModel::currentRecordingsRoot() const {
  return recordingsRoot(recordingsFolderPath.get(), recordingsFallback_);
}

void AppModel::startRecording() {
  if (isRecording.get() || isCapturingLoop.get()) return;
  if (auto stored = preferences_.getString(prefkey::recordQuality)) {
    recordQuality = enumFromName<ProgramRecorder::Quality>(*stored).value_or(recordQuality);
  }
  const auto folder = currentRecordingsRoot() / ("Tavorin-" + fileTimeStamp());
  std::error_code made;
  std::filesystem::create_directories(folder, made);
  if (made) {
    appendLog("Could not start recording: " + made.message());
    return;
  }
  const bool withAudio = audioMixer.programOutput.get().has_value() && !audioMixer.channels->empty();
  const Size pixels = pixelSize(canvasSize.get());
  std::string error;
  if (!recorder.start(folder / "program.mov", kRecordingFrameRate, static_cast<int>(pixels.width),
                      static_cast<int>(pixels.height), recordQuality, withAudio, &error)) {
    appendLog("Could not start recording: " + error);
    return;
  }
  currentRecordingFolder = folder;
  isRecording = true;
  isRecordingPaused = false;
  if (withAudio) {
    audioMixer.setProgramAudioSink([this](const PcmBuffer& block, double time) {
      recorder.appendAudio(block.planes[0].data(), block.planes[1].data(), block.frameLength, time);
    });
  }
  if (recordQuality == ProgramRecorder::Quality::hevcHigh && recorder.videoEncoderName() == "libx264") {
    appendLog("No hardware HEVC encoder works here: recording H.264 (libx264) at the same bit rate");
  }
  appendLog("Recording to " + folder.filename().string() + "/" +
            (withAudio ? "" : " (video only — select a Program output for audio)"));
}

void AppModel::stopRecording() {
  // A second stop while the file closes would be answered at once with no file.
  if (!isRecording.get() || recordingStopping_) return;
  recordingStopping_ = true;
  const auto folder = currentRecordingFolder.get().value_or(std::filesystem::path());
  std::weak_ptr<AppModel*> weakSelf = self_;
  MainQueue& queue = queue_;
  recorder.finish([weakSelf, &queue, folder](std::optional<std::filesystem::path> file) {
    queue.post([weakSelf, file, folder] {
      if (auto self = weakSelf.lock()) (*self)->recordingFinished(file, folder);
    });
  });
}

void AppModel::recordingFinished(std::optional<std::filesystem::path> file, std::filesystem::path folder) {
  recordingStopping_ = false;
  audioMixer.setProgramAudioSink(nullptr);
  isRecording = false;
  isRecordingPaused = false;
  currentRecordingFolder = std::nullopt;
  if (file) {
    appendLog("Recording saved: " + folder.filename().string());
  } else {
    appendLog("Recording failed to finalize.");
  }
}

void AppModel::finishRecordingForQuit() {
  // A stop already under way closes the file; the recorder waits for it as it goes.
  if ((!isRecording.get() && !isCapturingLoop.get()) || recordingStopping_) return;
  const auto folder = currentRecordingFolder.get().value_or(std::filesystem::path());
  // Quitting waits for the file to be closed: nothing recorded is lost.
  std::promise<std::optional<std::filesystem::path>> done;
  recorder.finish([&done](std::optional<std::filesystem::path> file) { done.set_value(std::move(file)); });
  auto file = done.get_future().get();
  if (isCapturingLoop.get()) {
    loopCaptureTimer_ = {};
    loopCaptureFinished(std::move(file));
  } else {
    recordingFinished(std::move(file), folder);
  }
}

void AppModel::startLoopCapture(double seconds) {
  if (isRecording.get() || isCapturingLoop.get() || !(seconds > 0)) return;
  const auto clips = showFolder_.library(ShowFolder::Library::clips);
  std::error_code made;
  std::filesystem::create_directories(clips, made);
  const auto file = clips / ("loop-" + Uuid::make().toString() + ".mov");
  const Size pixels = pixelSize(canvasSize.get());
  std::string error = made ? made.message() : "";
  if (made || !recorder.start(file, kRecordingFrameRate, static_cast<int>(pixels.width),
                              static_cast<int>(pixels.height), ProgramRecorder::Quality::hevcHigh, false, &error)) {
    appendLog("Could not start loop capture: " + error);
    return;
  }
  isCapturingLoop = true;
  char secondsText[32];
  std::snprintf(secondsText, sizeof secondsText, "%g", seconds);
  appendLog(std::string("Capturing ") + secondsText + "s loop…");
  std::weak_ptr<AppModel*> weakSelf = self_;
  loopCaptureTimer_ = queue_.after(seconds, [this, weakSelf] {
    MainQueue& queue = queue_;
    recorder.finish([weakSelf, &queue](std::optional<std::filesystem::path> saved) {
      queue.post([weakSelf, saved] {
        if (auto self = weakSelf.lock()) (*self)->loopCaptureFinished(saved);
      });
    });
  });
}

void AppModel::loopCaptureFinished(std::optional<std::filesystem::path> file) {
  isCapturingLoop = false;
  if (!file) {
    appendLog("Loop capture failed.");
    return;
  }
  SavedSource clip;
  clip.id = "clip:" + file->string();
  clip.kind = SavedSource::Kind::clip;
  clip.name = file->stem().string();
  clip.filePath = file->string();
  sourcesStore.upsert(clip);
  if (auto source = sourceFactory.make(clip)) sourceLifecycle.addSource(std::move(source));
  appendLog("Loop saved to Media as “" + clip.name + "”");
}

void AppModel::setRecordingPaused(bool on) {
  if (!isRecording.get() || on == isRecordingPaused.get()) return;
  recorder.setPaused(on);
  isRecordingPaused = on;
}

}  // namespace tavorin

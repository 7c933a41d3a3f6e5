#include "app/RecordingController.h"

#include <cstdio>
#include <future>
#include <set>
#include <string>
#include <vector>

#include "audio/AudioMixerEngine.h"
#include "base/EnumNames.h"
#include "base/Uuid.h"
#include "stores/PreferenceKeys.h"
#include "stores/Preferences.h"
#include "stores/TimeStamp.h"

namespace tavorin {

namespace {

constexpr int kRecordingFrameRate = 30;

// The stored raw value ("High (HEVC)"), or the case name that older versions
// wrote ("hevcHigh"); anything else keeps the first case.
ProgramRecorder::Quality readRecordQuality(const Preferences& preferences) {
  const auto stored = preferences.getString(prefkey::recordQuality);
  if (!stored) return ProgramRecorder::Quality::hevcHigh;
  if (auto quality = enumFromName<ProgramRecorder::Quality>(*stored)) return *quality;
  if (*stored == "proRes422") return ProgramRecorder::Quality::proRes422;
  return ProgramRecorder::Quality::hevcHigh;
}

std::set<std::string> readRecordVideoIDs(const Preferences& preferences) {
  const auto ids = preferences.getStringList(prefkey::recordVideoIDs).value_or(std::vector<std::string>{});
  return {ids.begin(), ids.end()};
}

}  // namespace

RecordingController::RecordingController(MainQueue& queue, ProgramRecorder& recorder, AudioMixerEngine& mixer,
                                         Preferences& preferences, Wiring wiring)
    : queue_(queue),
      recorder_(recorder),
      mixer_(mixer),
      preferences_(preferences),
      wiring_(std::move(wiring)),
      recordQuality_(readRecordQuality(preferences)),
      recordVideoIDs_(readRecordVideoIDs(preferences)) {}

void RecordingController::setRecordQuality(ProgramRecorder::Quality quality) {
  recordQuality_ = quality;
  preferences_.setString(prefkey::recordQuality, std::string(enumName(quality)));
}

void RecordingController::setRecordVideo(const std::string& sourceID, bool armed) {
  if (recordVideoIDs_->contains(sourceID) == armed) return;
  recordVideoIDs_.modify([&](std::set<std::string>& ids) {
    if (armed) {
      ids.insert(sourceID);
    } else {
      ids.erase(sourceID);
    }
  });
  preferences_.setStringList(prefkey::recordVideoIDs, {recordVideoIDs_->begin(), recordVideoIDs_->end()});
}

bool RecordingController::startRecorder(const std::filesystem::path& file, ProgramRecorder::Quality quality,
                                        bool withAudio, std::string* error) {
  const Size pixels = wiring_.canvasPixels();
  return recorder_.start(file, kRecordingFrameRate, static_cast<int>(pixels.width), static_cast<int>(pixels.height),
                         quality, withAudio, error);
}

void RecordingController::finishRecorder(
    std::function<void(RecordingController&, std::optional<std::filesystem::path>)> then) {
  std::weak_ptr<RecordingController*> weakSelf = self_;
  MainQueue& queue = queue_;
  recorder_.finish([weakSelf, &queue, then = std::move(then)](std::optional<std::filesystem::path> file) {
    queue.post([weakSelf, then, file] {
      if (auto self = weakSelf.lock()) then(**self, file);
    });
  });
}

void RecordingController::start() {
  if (isRecording_.get() || isCapturingLoop_.get()) return;
  const auto quality = recordQuality_.get();
  const auto folder = wiring_.recordingsRoot() / ("Tavorin-" + fileTimeStamp());
  std::error_code made;
  std::filesystem::create_directories(folder, made);
  if (made) {
    wiring_.log("Could not start recording: " + made.message());
    return;
  }
  // The Program mix runs with or without an output device: any channel gives sound.
  const bool withAudio = !mixer_.channels->empty();
  std::string error;
  if (!startRecorder(folder / "program.mov", quality, withAudio, &error)) {
    wiring_.log("Could not start recording: " + error);
    return;
  }
  currentFolder_ = folder;
  isRecording_ = true;
  isRecordingPaused_ = false;
  wiring_.log("Recording to " + folder.filename().string() + "/" +
              (withAudio ? "" : " (video only — add an audio input for sound)"));
}

void RecordingController::stop() {
  // A second stop while the file closes would be answered at once with no file.
  if (!isRecording_.get() || stopping_) return;
  stopping_ = true;
  const auto folder = currentFolder_.get().value_or(std::filesystem::path());
  finishRecorder([folder](RecordingController& self, std::optional<std::filesystem::path> file) {
    self.recordingFinished(std::move(file), folder);
  });
}

void RecordingController::recordingFinished(std::optional<std::filesystem::path> file,
                                            const std::filesystem::path& folder) {
  stopping_ = false;
  isRecording_ = false;
  isRecordingPaused_ = false;
  currentFolder_ = std::nullopt;
  wiring_.log(file ? "Recording saved: " + folder.filename().string() : "Recording failed to finalize.");
}

void RecordingController::finishForQuit() {
  // A stop already under way closes the file; the recorder waits for it as it goes.
  if ((!isRecording_.get() && !isCapturingLoop_.get()) || stopping_) return;
  const auto folder = currentFolder_.get().value_or(std::filesystem::path());
  // Quitting waits for the file to be closed: nothing recorded is lost.
  std::promise<std::optional<std::filesystem::path>> done;
  recorder_.finish([&done](std::optional<std::filesystem::path> file) { done.set_value(std::move(file)); });
  auto file = done.get_future().get();
  if (isCapturingLoop_.get()) {
    loopCaptureTimer_ = {};
    loopCaptureFinished(std::move(file));
  } else {
    recordingFinished(std::move(file), folder);
  }
}

void RecordingController::startLoopCapture(double seconds) {
  if (isRecording_.get() || isCapturingLoop_.get() || !(seconds > 0)) return;
  const auto clips = wiring_.clipsFolder();
  std::error_code made;
  std::filesystem::create_directories(clips, made);
  const auto file = clips / ("loop-" + Uuid::make().toString() + ".mov");
  std::string error = made ? made.message() : "";
  if (made || !startRecorder(file, ProgramRecorder::Quality::hevcHigh, false, &error)) {
    wiring_.log("Could not start loop capture: " + error);
    return;
  }
  isCapturingLoop_ = true;
  char secondsText[32];
  std::snprintf(secondsText, sizeof secondsText, "%g", seconds);
  wiring_.log(std::string("Capturing ") + secondsText + "s loop…");
  loopCaptureTimer_ = queue_.after(seconds, [this] {
    finishRecorder([](RecordingController& self, std::optional<std::filesystem::path> file) {
      self.loopCaptureFinished(std::move(file));
    });
  });
}

void RecordingController::loopCaptureFinished(std::optional<std::filesystem::path> file) {
  isCapturingLoop_ = false;
  if (!file) {
    wiring_.log("Loop capture failed.");
    return;
  }
  wiring_.loopSaved(*file);
}

void RecordingController::setPaused(bool on) {
  if (!isRecording_.get() || on == isRecordingPaused_.get()) return;
  recorder_.setPaused(on);
  isRecordingPaused_ = on;
}

}  // namespace tavorin

#include "app/RecordingController.h"

#include <condition_variable>
#include <cstdio>
#include <future>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "audio/AudioMixerEngine.h"
#include "base/EnumNames.h"
#include "base/ThreadName.h"
#include "base/Uuid.h"
#include "stores/PreferenceKeys.h"
#include "stores/Preferences.h"
#include "stores/TimeStamp.h"

namespace tavorin {

namespace {

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

// One call of the recorder's finish: its answer comes on the recording's
// thread, is acted on once on the main thread, and the quit path may wait for it.
struct RecordingController::PendingFinish {
  Then then;             // main thread
  bool handled = false;  // main thread
  std::mutex lock;
  std::condition_variable changed;
  bool finished = false;
  std::optional<std::filesystem::path> file;
};

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

RecordingController::~RecordingController() {
  if (quitFinisher_.joinable()) quitFinisher_.join();
}

bool RecordingController::startRecorder(const std::filesystem::path& file, ProgramRecorder::Quality quality,
                                        bool withAudio, std::string* error) {
  const Size pixels = wiring_.canvasPixels();
  return recorder_.start(file, wiring_.frameRate(), static_cast<int>(pixels.width), static_cast<int>(pixels.height),
                         quality, withAudio, error);
}

void RecordingController::finishRecorder(Then then, bool offMainThread) {
  auto pending = std::make_shared<PendingFinish>();
  pending->then = std::move(then);
  pending_ = pending;
  std::weak_ptr<RecordingController*> weakSelf = self_;
  MainQueue& queue = queue_;
  ProgramRecorder::Completion completion = [weakSelf, &queue, pending](std::optional<std::filesystem::path> file) {
    {
      std::lock_guard hold(pending->lock);
      pending->file = std::move(file);
      pending->finished = true;
    }
    pending->changed.notify_all();
    queue.post([weakSelf, pending] {
      if (auto self = weakSelf.lock()) (*self)->completeFinish(pending);
    });
  };
  if (!offMainThread) return recorder_.finish(std::move(completion));
  quitFinisher_ = std::thread([this, completion = std::move(completion)]() mutable {
    nameThisThread("Tavorin.RecorderQuit");
    recorder_.finish(std::move(completion));
  });
}

void RecordingController::completeFinish(const std::shared_ptr<PendingFinish>& pending) {
  // The quit path may have acted on it already; the posted copy then does nothing.
  if (pending->handled) return;
  pending->handled = true;
  if (pending_ == pending) pending_.reset();
  std::optional<std::filesystem::path> file;
  {
    std::lock_guard hold(pending->lock);
    file = pending->file;
  }
  pending->then(*this, std::move(file));
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
  recordStart_ = queue_.now();
  recordPausedTotal_ = 0;
  recordPauseBegan_.reset();
  currentFolder_ = folder;
  isRecordingPaused_ = false;
  isRecording_ = true;
  wiring_.log("Recording to " + folder.filename().string() + "/" +
              (withAudio ? "" : " (video only — add an audio input for sound)"));
}

void RecordingController::finishRecording(const std::string& why, bool offMainThread) {
  stopping_ = true;
  const auto folder = currentFolder_.get().value_or(std::filesystem::path());
  finishRecorder(
      [folder, why](RecordingController& self, std::optional<std::filesystem::path> file) {
        self.recordingFinished(std::move(file), folder, why);
      },
      offMainThread);
}

void RecordingController::finishLoopCapture(bool offMainThread) {
  loopCaptureTimer_ = {};
  stopping_ = true;
  finishRecorder(
      [](RecordingController& self, std::optional<std::filesystem::path> file) {
        self.loopCaptureFinished(std::move(file));
      },
      offMainThread);
}

void RecordingController::stop(std::string why) {
  // A second stop while the file closes would be answered at once with no file.
  if (!isRecording_.get() || stopping_) return;
  finishRecording(why);
}

void RecordingController::endBecause(const std::string& why) {
  if (stopping_) return;
  if (isRecording_.get()) return finishRecording(why);
  if (isCapturingLoop_.get()) finishLoopCapture();
}

void RecordingController::recordingFinished(std::optional<std::filesystem::path> file,
                                            const std::filesystem::path& folder, const std::string& why) {
  stopping_ = false;
  isRecording_ = false;
  isRecordingPaused_ = false;
  currentFolder_ = std::nullopt;
  if (!file) {
    wiring_.log("Recording failed to finalize.");
  } else {
    wiring_.log("Recording saved: " + folder.filename().string());
    // Quitting, there is nobody left to look.
    if (wiring_.reveal && !quitting_) wiring_.reveal(folder);
  }
  if (!why.empty()) wiring_.log(why);
}

bool RecordingController::finishForQuit(std::chrono::steady_clock::time_point deadline) {
  quitting_ = true;
  if (!pending_) {
    if (isRecording_.get()) {
      finishRecording({}, true);
    } else if (isCapturingLoop_.get()) {
      finishLoopCapture(true);
    } else {
      return true;
    }
  }
  const std::shared_ptr<PendingFinish> pending = pending_;
  bool finished = false;
  {
    std::unique_lock hold(pending->lock);
    finished = pending->changed.wait_until(hold, deadline, [&] { return pending->finished; });
  }
  if (!finished) {
    // A stalled disk or a stuck encoder: the file stays readable up to its last fragment.
    wiring_.log("The recording was still closing at quit; its last seconds may be missing.");
    return false;
  }
  completeFinish(pending);
  return true;
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
  loopCaptureTimer_ = queue_.after(seconds, [this] { finishLoopCapture(); });
}

void RecordingController::loopCaptureFinished(std::optional<std::filesystem::path> file) {
  stopping_ = false;
  isCapturingLoop_ = false;
  if (!file) {
    wiring_.log("Loop capture failed.");
    return;
  }
  wiring_.loopSaved(*file);
}

void RecordingController::setPaused(bool on) {
  if (!isRecording_.get() || stopping_ || on == isRecordingPaused_.get()) return;
  recorder_.setPaused(on);
  const double now = queue_.now();
  if (on) {
    recordPauseBegan_ = now;
  } else if (recordPauseBegan_) {
    recordPausedTotal_ += now - *recordPauseBegan_;
    recordPauseBegan_.reset();
  }
  isRecordingPaused_ = on;
}

std::optional<double> RecordingController::recordingSeconds() const {
  if (!isRecording_.get()) return std::nullopt;
  const double now = queue_.now();
  const double running = recordPauseBegan_ ? now - *recordPauseBegan_ : 0;
  return now - recordStart_ - recordPausedTotal_ - running;
}

}  // namespace tavorin

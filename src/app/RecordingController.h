#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "base/MainQueue.h"
#include "base/Published.h"
#include "base/PublishedView.h"
#include "model/Geometry.h"
#include "outputs/ProgramRecorder.h"

namespace tavorin {

class AudioMixerEngine;
class Preferences;

// Recording Program and capturing loops of it: where the files go, what the
// operator reads about them, and the mixer's Program mix joining the recorder
// while a recording runs. Main thread only.
class RecordingController {
 public:
  // What it asks of the rest of the show.
  struct Wiring {
    std::function<Size()> canvasPixels;
    // The folder recordings go to now.
    std::function<std::filesystem::path()> recordingsRoot;
    std::function<std::filesystem::path()> clipsFolder;
    std::function<void(std::string)> log;
    // A finished loop capture, to become a clip of the show.
    std::function<void(const std::filesystem::path& file)> loopSaved;
  };

  // Reads the operator's recording settings from `preferences`; their commands write them back.
  RecordingController(MainQueue& queue, ProgramRecorder& recorder, AudioMixerEngine& mixer, Preferences& preferences,
                      Wiring wiring);
  RecordingController(const RecordingController&) = delete;
  RecordingController& operator=(const RecordingController&) = delete;

  PublishedView<bool> isRecording{isRecording_};
  PublishedView<bool> isCapturingLoop{isCapturingLoop_};
  PublishedView<bool> isRecordingPaused{isRecordingPaused_};
  // "Tavorin-<date-time>" in the recordings folder while a recording runs.
  PublishedView<std::optional<std::filesystem::path>> currentFolder{currentFolder_};
  // What the next recording is encoded as.
  PublishedView<ProgramRecorder::Quality> recordQuality{recordQuality_};
  // The video sources armed for isolated tracks beside the Program.
  PublishedView<std::set<std::string>> recordVideoIDs{recordVideoIDs_};

  void setRecordQuality(ProgramRecorder::Quality quality);
  void setRecordVideo(const std::string& sourceID, bool armed);

  // A folder "Tavorin-<date-time>" in the recordings folder with "program.mov"
  // inside, with the Program mix when there is a Program output to hear.
  void start();
  void stop();
  void toggle() { isRecording_.get() ? stop() : start(); }
  void setPaused(bool on);
  // Records `seconds` of Program, without sound, as "loop-<uuid>.mov" in the
  // clips folder. Refused while recording.
  void startLoopCapture(double seconds);
  // The quit path: waits until the file being written is closed.
  void finishForQuit();

 private:
  void recordingFinished(std::optional<std::filesystem::path> file, const std::filesystem::path& folder);
  void loopCaptureFinished(std::optional<std::filesystem::path> file);
  bool startRecorder(const std::filesystem::path& file, ProgramRecorder::Quality quality, bool withAudio,
                     std::string* error);
  // Runs `then` on the main queue when the recorder has closed its file, if this object is still there.
  void finishRecorder(std::function<void(RecordingController&, std::optional<std::filesystem::path>)> then);

  MainQueue& queue_;
  ProgramRecorder& recorder_;
  AudioMixerEngine& mixer_;
  Preferences& preferences_;
  Wiring wiring_;
  Published<bool> isRecording_{false};
  Published<bool> isCapturingLoop_{false};
  Published<bool> isRecordingPaused_{false};
  Published<std::optional<std::filesystem::path>> currentFolder_;
  Published<ProgramRecorder::Quality> recordQuality_;
  Published<std::set<std::string>> recordVideoIDs_;
  TimerHandle loopCaptureTimer_;
  bool stopping_ = false;
  // Completions hold this weakly and do nothing once the controller is gone.
  std::shared_ptr<RecordingController*> self_ = std::make_shared<RecordingController*>(this);
};

}  // namespace tavorin

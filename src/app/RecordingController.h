#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>

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
    // Program's frame rate, which recordings are written at.
    std::function<int()> frameRate;
    // The folder recordings go to now.
    std::function<std::filesystem::path()> recordingsRoot;
    std::function<std::filesystem::path()> clipsFolder;
    std::function<void(std::string)> log;
    // A finished loop capture, to become a clip of the show.
    std::function<void(const std::filesystem::path& file)> loopSaved;
    // Shows a saved recording's folder in the desktop's file manager; unset without a desktop.
    std::function<void(const std::filesystem::path& folder)> reveal;
  };

  // Reads the operator's recording settings from `preferences`; their commands write them back.
  RecordingController(MainQueue& queue, ProgramRecorder& recorder, AudioMixerEngine& mixer, Preferences& preferences,
                      Wiring wiring);
  // Waits for a quit's finishing call, which a stuck encoder may hold up.
  ~RecordingController();
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
  // Closes the file; `why`, when given, is logged after what became of it.
  void stop(std::string why = {});
  void toggle() { isRecording_.get() ? stop() : start(); }
  void setPaused(bool on);
  // Records `seconds` of Program, without sound, as "loop-<uuid>.mov" in the
  // clips folder. Refused while recording.
  void startLoopCapture(double seconds);
  // Ends what is being recorded now because the picture changes under it: a
  // recording is closed and `why` logged after it, a loop is kept as far as it got.
  void endBecause(const std::string& why);
  // Seconds recorded so far on the main queue's clock, paused time left out; nothing when not recording.
  std::optional<double> recordingSeconds() const;
  // The quit path: closes the file being written, waiting for it until
  // `deadline` at most. False (and a line in the log) when it is still open then.
  bool finishForQuit(std::chrono::steady_clock::time_point deadline);

 private:
  using Then = std::function<void(RecordingController&, std::optional<std::filesystem::path>)>;
  struct PendingFinish;

  void recordingFinished(std::optional<std::filesystem::path> file, const std::filesystem::path& folder,
                         const std::string& why);
  void loopCaptureFinished(std::optional<std::filesystem::path> file);
  bool startRecorder(const std::filesystem::path& file, ProgramRecorder::Quality quality, bool withAudio,
                     std::string* error);
  // Runs `then` on the main queue when the recorder has closed its file, if
  // this object is still there. On a thread of its own when `offMainThread`,
  // so that the quit path can stop waiting for it.
  void finishRecorder(Then then, bool offMainThread = false);
  void finishRecording(const std::string& why, bool offMainThread = false);
  void finishLoopCapture(bool offMainThread = false);
  void completeFinish(const std::shared_ptr<PendingFinish>& pending);

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
  bool quitting_ = false;
  // The pause-aware clock of the recording, on the main queue's clock.
  double recordStart_ = 0;
  double recordPausedTotal_ = 0;
  std::optional<double> recordPauseBegan_;
  // The finish under way, if any.
  std::shared_ptr<PendingFinish> pending_;
  std::thread quitFinisher_;
  // Completions hold this weakly and do nothing once the controller is gone.
  std::shared_ptr<RecordingController*> self_ = std::make_shared<RecordingController*>(this);
};

}  // namespace tavorin

#pragma once

#include <functional>
#include <memory>
#include <string>

#include "app/AppModel.h"
#include "app/DemoShow.h"
#include "app/LaunchOptions.h"
#include "app/SyncTestShow.h"
#include "audio/AudioBackend.h"
#include "platform/gl/GLShareGroup.h"
#include "platform/loop/GLibMainQueue.h"

namespace tavorin {

// The show as the launch options ask for it, made the same way with or
// without a window: the process's GPU context, the audio service, the model
// started over the show folder, and the demo, sync test, recording and
// streams from launch. Main thread only.
class ShowRuntime {
 public:
  // `quit` ends the main loop the runner serves; SIGINT, SIGTERM, SIGHUP and
  // --seconds call it, and SIGUSR1 restarts the audio. A window gives its
  // `share` group, so its monitors sample the compositor's textures.
  ShowRuntime(const LaunchOptions& options, GLibMainQueue& queue, std::function<void()> quit,
              const GLShareGroup& share = {});
  ~ShowRuntime();
  ShowRuntime(const ShowRuntime&) = delete;
  ShowRuntime& operator=(const ShowRuntime&) = delete;

  // Null when the show could not be made; `failure()` says why.
  AppModel* model() const { return model_.get(); }
  const std::string& failure() const { return failure_; }

  // Starts the model, then what the options ask for from launch. `echoLog`
  // gets every log line as it is logged (headless: standard error).
  void start(std::function<void(const std::string&)> echoLog = {});

  // The quit path: the session written, outputs closed, the snapshot and the
  // figures printed. Returns the exit status; `outputsClosed` false when an
  // output was still closing and the process should go without waiting.
  int finish(bool& outputsClosed);

 private:
  const LaunchOptions options_;
  GLibMainQueue& queue_;
  std::function<void()> quit_;
  std::string failure_;
  std::string audioError_;
  std::string shareFailure_;
  std::unique_ptr<AudioBackend> audio_;
  std::unique_ptr<CameraDirectory> cameras_;
  std::unique_ptr<ScreenCaptureBackend> screens_;
  std::unique_ptr<AppModel> model_;
  std::unique_ptr<DemoShow> demo_;
  std::unique_ptr<SyncTestShow> syncTest_;
  TimerHandle stopTimer_;
  TimerHandle clipWait_;
};

}  // namespace tavorin

#include "app/HeadlessRunner.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "app/AppModel.h"
#include "app/DemoShow.h"
#include "app/StatusLine.h"
#include "app/SyncTestShow.h"
#include "audio/PipeWireAudioBackend.h"
#include "platform/gl/GLContext.h"
#include "platform/gl/GLFailure.h"
#include "platform/loop/GLibMainQueue.h"
#include "platform/media/MediaLog.h"
#include "platform/media/PngWriter.h"
#include "stores/Preferences.h"
#include "stores/ShowFolder.h"

namespace tavorin {

namespace {

constexpr double kStatusEvery = 10.0;

}  // namespace

int runHeadless(const LaunchOptions& options) {
  GLibMainQueue queue;
  AppEnvironment environment{
      .showFolder = options.showDir ? *options.showDir : ShowFolder::defaultRoot(),
      .preferencesFile = options.showDir ? *options.showDir / "preferences.json" : Preferences::defaultPath(),
      .queue = queue,
  };

  keepMediaLogToErrors();

  // Before anything slow: a signal during start-up still takes the quit path.
  for (int signal : {SIGINT, SIGTERM, SIGHUP}) queue.onSignal(signal, [&queue] { queue.quit(); });

  // The process's one GPU context; without it there is no show. It lives as
  // long as the process: unloading the driver at exit gains nothing.
  static GLContext* gl = nullptr;
  try {
    gl = new GLContext;
    gl->releaseCurrent();
  } catch (const GLFailure& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
  environment.glContext = gl;
  environment.useSecretService = true;

  // Without a PipeWire daemon the show runs silent rather than not at all.
  std::string audioError;
  std::unique_ptr<AudioBackend> audio = makePipeWireAudioBackend(queue, &audioError);
  environment.audioBackend = audio.get();

  std::unique_ptr<AppModel> model;
  try {
    model = std::make_unique<AppModel>(environment);
  } catch (const GLFailure& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
  // Without a window the log is the operator's only view: echo it as it happens.
  model->onLogLine = [](const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); };
  model->start();
  model->appendLog("Show folder: " + environment.showFolder.string());
  model->appendLog("GPU: " + gl->description());
  if (!audio) model->appendLog("Audio: " + audioError + " — the show runs without sound");
  std::unique_ptr<DemoShow> demo;
  if (options.demo) demo = std::make_unique<DemoShow>(*model, options.takeEvery);
  std::unique_ptr<SyncTestShow> syncTest;
  if (options.syncTest) syncTest = std::make_unique<SyncTestShow>(*model);
  if (options.recordingsDir) model->recordingsFolderPath = options.recordingsDir->string();
  if (options.record) model->startRecording();
  for (const auto& url : options.streamURLs) model->goLive(url);

  // A server without a window restarts its audio the way daemons reload.
  queue.onSignal(SIGUSR1, [&model] {
    model->appendLog("Restarting audio (SIGUSR1)");
    model->restartAudio();
  });

  TimerHandle stopTimer;
  if (options.seconds) stopTimer = queue.after(*options.seconds, [&queue] { queue.quit(); });

  // A person at a terminal sees that the show is healthy without reading the log.
  StatusLine status(*model);
  TimerHandle statusTimer;
  if (options.status) {
    statusTimer = queue.every(kStatusEvery, [&status] { std::fprintf(stderr, "%s\n", status.next().c_str()); });
  }

  queue.run();

  statusTimer.cancel();
  demo.reset();
  syncTest.reset();
  const bool outputsClosed = model->willTerminate();
  std::fprintf(stderr, "Measured %.1f fps\n", model->engine->measuredFPS());
  std::fprintf(stderr, "Wrote %s\n", model->sessionStore.path().c_str());
  int exitStatus = 0;
  if (options.snapshot) {
    std::string error;
    // Drawn for the snapshot: without a recording or a stream nothing else takes Program.
    FrameRef frame = model->engine->drawnFrame(Canvas::program);
    if (!frame) {
      std::fprintf(stderr, "No Program frame to write to %s\n", options.snapshot->c_str());
      exitStatus = 1;
    } else if (!writePNG(*frame, *options.snapshot, &error)) {
      std::fprintf(stderr, "%s\n", error.c_str());
      exitStatus = 1;
    } else {
      std::fprintf(stderr, "Wrote %s\n", options.snapshot->c_str());
    }
  }
  if (!outputsClosed) {
    // A writer stuck on its disk or an encoder that never returns would hold
    // the process forever in its destructor: the show is saved, so it goes now.
    std::fflush(stderr);
    std::_Exit(exitStatus);
  }
  return exitStatus;
}

}  // namespace tavorin

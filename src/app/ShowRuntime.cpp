#include "app/ShowRuntime.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "audio/PipeWireAudioBackend.h"
#include "app/OnProgram.h"
#include "platform/camera/SystemCameraDirectory.h"
#include "platform/gl/GLContext.h"
#include "platform/portal/PortalScreenCapture.h"
#include "platform/x11/X11ScreenBackend.h"
#include "platform/gl/GLFailure.h"
#include "platform/media/MediaLog.h"
#include "platform/media/PngWriter.h"
#include "sources/LoopingVideoSource.h"
#include "stores/Preferences.h"
#include "stores/ShowFolder.h"

namespace tavorin {

namespace {

// The process's one GPU context, in the window's share group when one is
// given and can be joined. It lives as long as the process: unloading the
// driver at exit gains nothing.
GLContext* processContext(std::string& failure, const GLShareGroup& share = {}, std::string* shareFailure = nullptr) {
  static GLContext* context = nullptr;
  if (context) return context;
  if (share.context != nullptr) {
    try {
      context = new GLContext(share);
      context->releaseCurrent();
      return context;
    } catch (const GLFailure& error) {
      if (shareFailure) *shareFailure = error.what();
    }
  }
  try {
    context = new GLContext;
    context->releaseCurrent();
  } catch (const GLFailure& error) {
    failure = error.what();
  }
  return context;
}

// A Wayland desktop shows X11 clients only XWayland's own windows and a black
// root: there the portal's dialog is the way to a screen.
std::unique_ptr<ScreenCaptureBackend> screenCaptureBackend() {
  const char* session = std::getenv("XDG_SESSION_TYPE");
  const bool wayland = (session && std::string_view(session) == "wayland") ||
                       (std::getenv("WAYLAND_DISPLAY") && !std::getenv("DISPLAY"));
  if (wayland) return std::make_unique<PortalScreenBackend>();
  return std::make_unique<X11ScreenBackend>();
}

}  // namespace

ShowRuntime::ShowRuntime(const LaunchOptions& options, GLibMainQueue& queue, std::function<void()> quit,
                         const GLShareGroup& share)
    : options_(options), queue_(queue), quit_(std::move(quit)) {
  keepMediaLogToErrors();
  // Before anything slow: a signal during start-up still takes the quit path.
  for (int signal : {SIGINT, SIGTERM, SIGHUP}) queue_.onSignal(signal, [this] { quit_(); });

  AppEnvironment environment{
      .showFolder = options.showDir ? *options.showDir : ShowFolder::defaultRoot(),
      .preferencesFile = options.showDir ? *options.showDir / "preferences.json" : Preferences::defaultPath(),
      .queue = queue,
  };
  environment.glContext = processContext(failure_, share, &shareFailure_);
  if (!environment.glContext) return;
  environment.useSecretService = true;
  // Without a PipeWire daemon the show runs silent rather than not at all.
  audio_ = makePipeWireAudioBackend(queue, &audioError_);
  environment.audioBackend = audio_.get();
  cameras_ = std::make_unique<SystemCameraDirectory>(queue, SystemCameraDirectory::Options{});
  environment.cameraDirectory = cameras_.get();
  screens_ = screenCaptureBackend();
  environment.screenCapture = screens_.get();
  // A show without a window has no operator at its keyboard.
  if (!options.headless) environment.globalKeys = makeGlobalKeyService();
  try {
    model_ = std::make_unique<AppModel>(std::move(environment));
  } catch (const GLFailure& error) {
    failure_ = error.what();
  }
}

ShowRuntime::~ShowRuntime() = default;

void ShowRuntime::start(std::function<void(const std::string&)> echoLog) {
  if (!model_) return;
  AppModel& model = *model_;
  model.onLogLine = std::move(echoLog);
  model.start();
  model.appendLog("Show folder: " + model.showFolder().root().string());
  model.appendLog("GPU: " + processContext(failure_)->description());
  if (!shareFailure_.empty()) model.appendLog(shareFailure_ + "; the monitors show copies of the pictures");
  if (!audio_) model.appendLog("Audio: " + audioError_ + " — the show runs without sound");
  if (options_.demo) {
    demo_ = std::make_unique<DemoShow>(model, options_.takeEvery);
    // The demo is a show made already: no first-launch guide over it (a plain launch still gets it).
    model.showOnboarding = false;
  }
  if (options_.syncTest) syncTest_ = std::make_unique<SyncTestShow>(model);
  std::optional<std::string> clipID;
  if (options_.clip) {
    clipID = model.addClipSource(*options_.clip);
    if (clipID) takeOverProgram(model, *clipID, options_.clip->stem().string());
  }
  if (options_.recordingsDir) model.recordingsFolderPath = options_.recordingsDir->string();
  if (options_.record && clipID) {
    // A recording's sound track is decided as it starts: wait for the clip to
    // be open and its sound on the mixer (or a few seconds), so it is in it.
    auto waited = std::make_shared<int>(0);
    clipWait_ = queue_.every(0.1, [this, id = *clipID, waited] {
      const auto* clip = model_->findClip(id);
      const auto& channels = model_->audioMixer.channels.get();
      const bool onMixer = std::any_of(channels.begin(), channels.end(), [&](const ChannelInfo& c) { return c.id == id; });
      if (clip && (clip->duration() <= 0 || (clip->hasSound() && !onMixer)) && ++*waited < 30) return;
      clipWait_.cancel();
      model_->startRecording();
    });
  } else if (options_.record) {
    model.startRecording();
  }
  for (const auto& url : options_.streamURLs) model.goLive(url);
  // A show without a window restarts its audio the way daemons reload; with one it is the same command.
  queue_.onSignal(SIGUSR1, [this] {
    model_->appendLog("Restarting audio (SIGUSR1)");
    model_->restartAudio();
  });
  if (options_.seconds) stopTimer_ = queue_.after(*options_.seconds, [this] { quit_(); });
}

int ShowRuntime::finish(bool& outputsClosed) {
  outputsClosed = true;
  if (!model_) return 1;
  stopTimer_.cancel();
  demo_.reset();
  syncTest_.reset();
  AppModel& model = *model_;
  outputsClosed = model.willTerminate();
  std::fprintf(stderr, "Measured %.1f fps\n", model.engine->measuredFPS());
  std::fprintf(stderr, "Wrote %s\n", model.sessionStore.path().c_str());
  if (!options_.snapshot) return 0;
  std::string error;
  // Drawn for the snapshot: without a recording or a stream nothing else takes Program.
  FrameRef frame = model.engine->drawnFrame(Canvas::program);
  if (!frame) {
    std::fprintf(stderr, "No Program frame to write to %s\n", options_.snapshot->c_str());
    return 1;
  }
  if (!writePNG(*frame, *options_.snapshot, &error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  std::fprintf(stderr, "Wrote %s\n", options_.snapshot->c_str());
  return 0;
}

}  // namespace tavorin

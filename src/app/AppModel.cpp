#include "app/AppModel.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <utility>

#include "app/EngineBinding.h"
#include "platform/desktop/DiskSpace.h"
#include "platform/secrets/FileSecretStore.h"
#include "stores/PreferenceKeys.h"

namespace tavorin {

namespace {

AppModel::EditCanvas readEditCanvas(const Preferences& prefs) {
  return prefs.getString(prefkey::editCanvas) == "vertical" ? AppModel::EditCanvas::vertical
                                                             : AppModel::EditCanvas::horizontal;
}

CanvasSize readCanvasSize(const Preferences& prefs) {
  auto name = prefs.getString(prefkey::canvasSize);
  if (!name) return CanvasSize::hd1080;
  return enumFromName<CanvasSize>(*name).value_or(CanvasSize::hd1080);
}

// The inputs to bring back at the next start: the channels there are now, then
// the saved ones still waiting for their device. Only a channel that goes
// away is forgotten; an input unplugged at launch never had one.
std::vector<std::string> inputIDsToKeep(const std::vector<std::string>& saved, const std::vector<std::string>& before,
                                        const std::vector<std::string>& now) {
  auto contains = [](const std::vector<std::string>& list, const std::string& id) {
    return std::find(list.begin(), list.end(), id) != list.end();
  };
  std::vector<std::string> kept = now;
  for (const std::string& id : saved) {
    if (!contains(now, id) && !contains(before, id)) kept.push_back(id);
  }
  return kept;
}

std::unique_ptr<SecretStore> makeStreamSecretStore(bool useService, const std::filesystem::path& file,
                                                  std::function<void(const std::string&)> log) {
  if (useService) return makeSecretStore(file, std::move(log));
  return std::make_unique<FileSecretStore>(file, std::move(log));
}

}  // namespace

AppModel::AppModel(AppEnvironment environment)
    : queue_(environment.queue),
      audioBackend_(environment.audioBackend),
      showFolder_(environment.showFolder),
      preferences_(environment.preferencesFile),
      recordingsFallback_(environment.recordingsFallback),
      mixerSettings_(preferences_),
      audioMixer(queue_, mixerSettings_.load(), environment.audioBackend, showFolder_.file("audio.log")),
      audioDevices(queue_, environment.audioBackend, audioMixer, preferences_,
                   [this](const std::string& line) { appendLog(line); }),
      soundEffects(queue_, showFolder_, audioMixer, [this](const std::string& line) { appendLog(line); }),
      switcher(SwitcherEngine::Role::main, queue_),
      verticalSwitcher(SwitcherEngine::Role::vertical, queue_),
      studioSwitcher(SwitcherEngine::Role::studio, queue_),
      engine(environment.glContext ? std::make_unique<CompositorEngine>(*environment.glContext, frameSlots) : nullptr),
      sourceLifecycle(
          queue_, frameSlots,
          [this] {
            std::set<std::string> ids;
            for (SwitcherEngine* s : {&switcher, &verticalSwitcher, &studioSwitcher}) ids.merge(s->sourceIDsInUse());
            ids.merge(fireGraphics.sourceIDsOnAir());
            return ids;
          },
          [this](std::string line) { appendLog(std::move(line)); }),
      layoutStore(showFolder_, "layouts.json"),
      deckStore(showFolder_, preferences_),
      hotkeys(std::move(environment.globalKeys)),
      transitionStore(showFolder_),
      editCanvas(readEditCanvas(preferences_)),
      layoutSyncHorizontal(preferences_.boolOr(prefkey::layoutSyncH, true)),
      layoutSyncVertical(preferences_.boolOr(prefkey::layoutSyncV, true)),
      pendingTakeTransition(std::nullopt),
      verticalScratchPinned(false),
      verticalTakePending(false),
      sourcesStore(showFolder_),
      fireGraphics({.queue = queue_,
                    .switcher = switcher,
                    .lifecycle = sourceLifecycle,
                    .frameSlots = frameSlots,
                    .overlays = overlayStore,
                    .sounds = soundEffects,
                    .webEngine = [this] { return webEngine.get(); },
                    .canvasPixels = [this] { return pixelSize(canvasSize.get()); },
                    .log = [this](std::string line) { appendLog(std::move(line)); }},
                   showFolder_),
      sessionStore(showFolder_),
      capture({.queue = queue_,
               .lifecycle = sourceLifecycle,
               .store = sourcesStore,
               .frameSlots = frameSlots,
               .preferences = preferences_,
               .log = [this](std::string line) { appendLog(std::move(line)); },
               .restoreSources = [this] { restoreSources(); }},
              environment.cameraDirectory, environment.screenCapture),
      savedAudioInputIDs(preferences_.getStringList(prefkey::audioInputIDs).value_or(std::vector<std::string>{})),
      savedProgramOutputUID(preferences_.getString(prefkey::programOutputUID)),
      canvasSize(readCanvasSize(preferences_)),
      frameRate(validFrameRate(preferences_.getInt(prefkey::frameRate))),
      showOnboarding(false),
      recordingsFolderPath(preferences_.getString(prefkey::recordingsFolder).value_or("")),
      encoders(probeHardwareEncoders(),
               [this](const std::string& line) {
                 // Encoders open on the threads that join them; the log is the main thread's.
                 std::weak_ptr<AppModel*> weakSelf = self_;
                 queue_.post([weakSelf, line] {
                   if (auto self = weakSelf.lock()) (*self)->appendLog(line);
                 });
               }),
      recorder(encoders),
      recording(queue_, recorder, audioMixer, preferences_,
                {.canvasPixels = [this] { return pixelSize(canvasSize.get()); },
                 .frameRate = [this] { return frameRate.get(); },
                 .recordingsRoot = [this] { return currentRecordingsRoot(); },
                 .clipsFolder = [this] { return showFolder_.library(ShowFolder::Library::clips); },
                 .log = [this](std::string line) { appendLog(std::move(line)); },
                 .loopSaved = [this](const std::filesystem::path& file) { addLoopClip(file); },
                 .reveal = environment.revealInFileManager}),
      replay(encoders,
             [this](const std::string& line) {
               std::weak_ptr<AppModel*> weakSelf = self_;
               queue_.post([weakSelf, line] {
                 if (auto self = weakSelf.lock()) (*self)->appendLog(line);
               });
             }),
      replays(queue_, replay, preferences_,
              {.canvasPixels = [this] { return pixelSize(canvasSize.get()); },
               .frameRate = [this] { return frameRate.get(); },
               .replaysFolder = [this] { return showFolder_.library(ShowFolder::Library::replays); },
               .log = [this](std::string line) { appendLog(std::move(line)); },
               .saved = [this](const ReplayBuffer::Saved& saved) { replaySaved(saved); }}),
      secretStore(makeStreamSecretStore(environment.useSecretService, showFolder_.file("secrets.json"),
                                        [this](const std::string& line) { appendLog(line); })),
      streamKeys(*secretStore),
      streamStore(showFolder_, streamKeys),
      streaming(queue_, [this](const Uuid& id) { return streamKeys.key(id); }, encoders),
      streamingControl(streaming, streamStore, [this] { return pixelSize(canvasSize.get()); },
                       [this](std::string line) { appendLog(std::move(line)); }),
      remote(*this, queue_, preferences_, environment.remotePorts),
      statsTicker_(queue_, stats,
                   {.fps = [this] { return engine ? engine->measuredFPS() : 0.0; },
                    .recordingSeconds = [this] { return recording.recordingSeconds(); },
                    .liveSince = [this] { return streaming.earliestLiveSince(); },
                    .liveStreamCount = [this] { return static_cast<int>(streaming.liveDestinations().size()); },
                    .diskFreePercent = [this] {
                      // The volume the recordings go to; a folder not made yet is on its parent's.
                      std::filesystem::path folder = currentRecordingsRoot();
                      std::error_code ignored;
                      while (!folder.empty() && !std::filesystem::exists(folder, ignored) &&
                             folder != folder.parent_path()) {
                        folder = folder.parent_path();
                      }
                      return diskFreePercent(folder.empty() ? std::filesystem::path("/") : folder);
                    },
                    .log = [this](const std::string& line) { appendLog(line); }}) {}

// The frame clock stops before the sinks it feeds go.
AppModel::~AppModel() {
  if (engine) engine->stop();
}

void AppModel::appendLog(std::string line) {
  if (onLogLine) onLogLine(line);
  log.modify([&](std::vector<std::string>& lines) {
    lines.push_back(std::move(line));
    if (lines.size() > kLogLimit) lines.erase(lines.begin(), lines.end() - kLogLimit);
  });
}

void AppModel::start() {
  if (started_) return;
  started_ = true;

  if (!preferences_.getBool(prefkey::onboardingDone).value_or(false)) showOnboarding = true;

  bindSwitcherClosures();
  bindAudioMixer();
  streamingControl.start();
  // The Program mix reaches the encoders once, whoever receives from them.
  audioMixer.setStreamAudioSink(encoders.audioSink());
  audioMixer.setReplayAudioSink(replay.audioSink());
  bindCustomTransitions();
  bindEngine();
  subscribeSelectionExclusivity();
  sessionKeeper_.start();
  restoreStudioMode();
  startDecks();
  remote.apply();
  subscribeSourceUse();
  sourceLifecycle.start();
  startStatsTick();
  capture.registerKinds(sourceFactory);
  sourceFactory.registerKind(SavedSource::Kind::clip, [this](const SavedSource& saved) { return makeClipSource(saved); });
  startWebSources();
  registerRTSPKind();
  std::weak_ptr<AppModel*> weakSelf = self_;
  // The stored sources come back once the cameras and screens are known.
  queue_.post([weakSelf] {
    if (auto self = weakSelf.lock()) (*self)->capture.refresh();
  });
}

void AppModel::bindSwitcherClosures() {
  switcher.canvasPixelSize = [this]() -> std::optional<Size> { return pixelSize(canvasSize.get()); };
  studioSwitcher.canvasPixelSize = switcher.canvasPixelSize;
  verticalSwitcher.canvasPixelSize = []() -> std::optional<Size> { return kVerticalCanvasPixels; };
  auto sourcePixelSize = [this](const std::string& sourceID) -> std::optional<Size> {
    const auto frame = frameSlots.latestFrame(sourceID);
    if (!frame) return std::nullopt;
    return Size{static_cast<double>(frame->width()), static_cast<double>(frame->height())};
  };
  for (SwitcherEngine* engine : {&switcher, &verticalSwitcher, &studioSwitcher}) {
    engine->sourcePixelSize = sourcePixelSize;
  }
}

void AppModel::bindAudioMixer() {
  switcher.audioFollow = [this](const std::set<std::string>& sourceIDs) { audioMixer.followProgram(sourceIDs); };
  switcher.setProgramMuted = [this](bool muted) { audioMixer.setProgramMuted(muted); };
  audioMixer.onSettingsChanged = [this](const MixerSettings& settings) { mixerSettings_.save(settings); };
  audioMixer.onLog = [this](const std::string& line) { appendLog(line); };
  auto channelIDs = std::make_shared<std::vector<std::string>>();
  subscriptions_.push_back(audioMixer.channels.subscribe([this, channelIDs](const std::vector<ChannelInfo>& list) {
    std::vector<std::string> ids;
    for (const ChannelInfo& c : list) {
      if (c.id != AudioMixerEngine::kSFXChannelID) ids.push_back(c.id);  // always there, nothing to restore
    }
    if (ids == *channelIDs) return;
    savedAudioInputIDs = inputIDsToKeep(savedAudioInputIDs, *channelIDs, ids);
    *channelIDs = std::move(ids);
    switcher.applyAudioFollow();
    preferences_.setStringList(prefkey::audioInputIDs, savedAudioInputIDs);
  }));
  auto outputUID = std::make_shared<std::optional<std::string>>();
  subscriptions_.push_back(audioMixer.programOutput.subscribe([this, outputUID](const std::optional<AudioOutputDevice>& device) {
    if (!device || device->uid == *outputUID) return;
    *outputUID = device->uid;
    preferences_.setString(prefkey::programOutputUID, device->uid);
  }));
  audioMixer.onDevicesChanged = [this] { refreshDevices(); };
  refreshAudioDevices();
}

void AppModel::refreshDevices() {
  refreshAudioDevices();
  capture.refresh();
}

void AppModel::refreshAudioDevices() {
  if (!audioBackend_) return;
  audioDevices.refresh();
  audioMixer.restoreInputs(savedAudioInputIDs, audioDevices.inputs.get());
  audioDevices.restoreApplicationChannels(savedAudioInputIDs);
  if (!audioMixer.programOutput.get() && savedProgramOutputUID) {
    for (const AudioOutputDevice& device : audioBackend_->outputDevices()) {
      if (device.uid == *savedProgramOutputUID) audioMixer.setProgramOutput(device);
    }
  }
  audioMixer.restoreMonitors();
}

std::vector<AudioOutputDevice> AppModel::audioOutputs() const {
  return audioBackend_ ? audioBackend_->outputDevices() : std::vector<AudioOutputDevice>{};
}

std::optional<AudioOutputDevice> AppModel::defaultAudioOutput() const {
  if (!audioBackend_) return std::nullopt;
  const auto uid = audioBackend_->defaultOutputUID();
  for (const AudioOutputDevice& device : audioBackend_->outputDevices()) {
    if (!uid || device.uid == *uid) return device;
  }
  return std::nullopt;
}

void AppModel::bindCustomTransitions() {
  auto lookup = [this](const Uuid& id) { return transitionStore.find(id); };
  switcher.customTransitionLookup = lookup;
  verticalSwitcher.customTransitionLookup = lookup;
  for (SwitcherEngine* s : {&switcher, &studioSwitcher}) {
    s->playTransitionSound = [this](const TransitionSound& sound) { soundEffects.playTransitionSound(sound); };
  }
  for (SwitcherEngine* s : {&switcher, &verticalSwitcher, &studioSwitcher}) {
    s->prepareTransitionSources = [this](const CustomTransition& custom) {
      for (const auto& track : custom.tracks) {
        if (auto source = sourceLifecycle.find(track.sourceID)) source->replayFromStart();
      }
      sourceLifecycle.scheduleReconcile();
    };
    s->makePoseUpdate = [this](const CustomTransition& custom) { return makePoseUpdate(custom); };
  }
}

std::function<void(float)> AppModel::makePoseUpdate(const CustomTransition& custom) {
  struct Posed {
    std::weak_ptr<BaseSource> source;
    TransitionTrack track;
  };
  std::vector<Posed> posed;
  for (const auto& track : custom.tracks) {
    if (!track.posesText()) continue;
    auto source = sourceLifecycle.find(track.sourceID);
    if (source && source->takesTextPose()) posed.push_back({source, track});
  }
  if (posed.empty()) return {};
  // Called on the render thread: the pose itself is set on the main queue.
  return [&queue = queue_, posed = std::move(posed)](float p) {
    for (const Posed& entry : posed) {
      const auto pose = entry.track.pose(p);
      if (!pose) continue;
      queue.post([source = entry.source, pose = *pose] {
        if (auto s = source.lock()) s->setTextPose(pose.yawDeg, pose.pitchDeg);
      });
    }
  };
}

void AppModel::bindEngine() {
  if (!engine) return;
  for (SwitcherEngine* s : {&switcher, &verticalSwitcher, &studioSwitcher}) {
    subscriptions_.push_back(bindToEngine(*s, *engine));
  }
  auto applyCanvas = [this](const CanvasSize& size) {
    const Size pixels = pixelSize(size);
    engine->setCanvas(static_cast<int>(pixels.width), static_cast<int>(pixels.height));
    programPixels_ = ProgramPixels{static_cast<int>(pixels.width), static_cast<int>(pixels.height)};
  };
  applyCanvas(canvasSize.get());
  subscriptions_.push_back(canvasSize.subscribe(applyCanvas));
  // Each canvas goes to the encoders once; the recorder and the streams receive what they encode.
  engine->setFrameSink(Canvas::program,
                       [this](const FrameRef& frame) { encoders.feedVideo(enumName(StreamCanvas::main), frame); });
  engine->setFrameSink(Canvas::vertical,
                       [this](const FrameRef& frame) { encoders.feedVideo(enumName(StreamCanvas::vertical), frame); });
  if (encoders.hardware().vaapiH264 || encoders.hardware().vaapiHevc) bindHardwareEncoding();
  // Headless, the encoders are the only consumers: with none open the clock rests.
  encoderConsumers_ = std::make_unique<EncoderConsumers>(encoders, *engine, queue_);
  engine->start(frameRate.get());
  subscriptions_.push_back(frameRate.subscribe([this](int fps) {
    engine->setRefreshRate(fps);
    replays.apply();
  }));
  // Only a frame clock fills the buffer: without one no encoder is opened for it.
  replays.start();
  subscriptions_.push_back(canvasSize.subscribe([this](const CanvasSize&) { replays.apply(); }));
  auto applyThumbnails = [this](const std::vector<MixerScene>& layouts) {
    auto [horizontal, vertical] = thumbnailScenes(layouts);
    engine->setAuxScenes(std::move(horizontal), std::move(vertical));
  };
  applyThumbnails(layoutStore.layouts.get());
  subscriptions_.push_back(layoutStore.layouts.subscribe(applyThumbnails));
}

void AppModel::bindHardwareEncoding() {
  // A VAAPI encoder takes Program as NV12 made on the GPU: drawn into its own
  // surfaces where the drivers allow, else read back at 1.5 bytes a pixel.
  const std::string_view main = enumName(StreamCanvas::main);
  Nv12Output output;
  output.frames = [this, main](const Nv12FrameRef& frame) { encoders.feedNv12(main, frame); };
  output.surface = [this, main](double now) {
    const ProgramPixels size = programPixels_.load();
    return encoders.takeSurface(main, size.width, size.height, now);
  };
  output.surfacesRefused = [this, main] { return encoders.surfacesRefused(main); };
  output.surfaceDone = [this](std::uint64_t surface, double hostTime, bool written) {
    encoders.surfaceDone(surface, hostTime, written);
  };
  output.fellBack = [this](DmaBufImportError why) {
    // The render thread only hands the reason on.
    std::weak_ptr<AppModel*> weakSelf = self_;
    queue_.post([weakSelf, why] {
      if (auto self = weakSelf.lock()) {
        (*self)->appendLog(std::string("Program reaches the hardware encoder through a readback: ") + describe(why));
      }
    });
  };
  engine->setNv12Output(Canvas::program, std::move(output));
}

void AppModel::subscribeSourceUse() {
  auto reconcile = [this](const auto&) { sourceLifecycle.scheduleReconcile(); };
  for (SwitcherEngine* s : {&switcher, &verticalSwitcher, &studioSwitcher}) {
    subscriptions_.push_back(s->programScene.subscribe(reconcile));
    subscriptions_.push_back(s->previewScene.subscribe(reconcile));
    subscriptions_.push_back(s->isTransitioning.subscribe(reconcile));
    subscriptions_.push_back(s->firedTransitionIDs.subscribe(reconcile));
  }
}

void AppModel::restoreSources() {
  const auto entries = sourcesStore.saved.get();
  for (const auto& entry : entries) {
    if (sourceLifecycle.find(entry.id)) continue;
    // A source that can't be built now stays stored and returns when what it needs does.
    auto source = sourceFactory.make(entry);
    if (!source) continue;
    saveDesignChanges(*source);
    if (entry.kind == SavedSource::Kind::text) nameAfterText(*source);
    sourceLifecycle.addSource(std::move(source));
  }
}

void AppModel::addLoopClip(const std::filesystem::path& file) {
  SavedSource clip;
  clip.id = "clip:" + file.string();
  clip.kind = SavedSource::Kind::clip;
  clip.name = file.stem().string();
  clip.filePath = file.string();
  sourcesStore.upsert(clip);
  if (auto source = sourceFactory.make(clip)) sourceLifecycle.addSource(std::move(source));
  appendLog("Loop saved to Media as “" + clip.name + "”");
}

std::filesystem::path AppModel::currentRecordingsRoot() const {
  return recordingsRoot(recordingsFolderPath.get(), recordingsFallback_);
}

void AppModel::removeSource(const std::string& id) {
  // A clip's sound goes with it; other ids have no channel of that name.
  if (findClip(id)) audioMixer.removeChannel(id);
  forgetRTSPCamera(id);
  sourceLifecycle.removeSource(id);
  sourcesStore.remove(id);
  mediaNames.modify([&](std::map<std::string, std::string>& names) { names.erase(id); });
  // A holding card that is gone would punch an empty Program.
  if (muteSourceID.get() == id) muteSourceID = std::nullopt;
}

void AppModel::subscribeSelectionExclusivity() {
  auto clearOthers = [this](PreviewEditor& selected) {
    for (PreviewEditor* other : {&editor, &verticalEditor, &studioEditor}) {
      if (other != &selected) other->deselectLayer();
    }
  };
  subscriptions_.push_back(editor.selectedLayerID.subscribe([this, clearOthers](const std::optional<Uuid>& id) {
    if (id) clearOthers(editor);
  }));
  subscriptions_.push_back(
      verticalEditor.selectedLayerID.subscribe([this, clearOthers](const std::optional<Uuid>& id) {
        if (id) clearOthers(verticalEditor);
      }));
}

void AppModel::restoreStudioMode() {
  if (auto studio = preferences_.getBool(prefkey::studioMode)) switcher.setStudioMode(*studio);
}

bool AppModel::willTerminate() {
  layoutWriteBack_.flush();
  verticalWriteBack_.flush();
  sessionKeeper_.saveNow();
  // The streams say goodbye to their servers while the recording closes its file.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                                                                std::chrono::duration<double>(kQuitCloseSeconds));
  streaming.stopAll();
  const bool recordingClosed = recording.finishForQuit(deadline);
  const int streamsOpen = streaming.waitUntilClosed(deadline);
  if (streamsOpen > 0) {
    appendLog(std::to_string(streamsOpen) + (streamsOpen == 1 ? " stream was" : " streams were") +
              " still closing at quit; the server ends it when the connection drops.");
  }
  return recordingClosed && streamsOpen == 0;
}

void AppModel::startStatsTick() {
  statsTicker_.start();
  subscriptions_.push_back(recording.isRecording.subscribe([this](bool) { statsTicker_.refreshRecording(); }));
}

void AppModel::take(SwitcherEngine& target, std::optional<TransitionKind> kind) {
  const bool isMain = &target == &switcher;
  // A pending take transition belongs to the next plain take of the main canvas
  // and is cleared by any take.
  std::optional<CustomTransition> pendingCustom;
  if (!kind && isMain && pendingTakeTransition.get() && switcher.customTransitionLookup) {
    pendingCustom = switcher.customTransitionLookup(*pendingTakeTransition.get());
  }
  pendingTakeTransition = std::nullopt;

  auto takeOn = [&](SwitcherEngine& engine) {
    if (pendingCustom) {
      engine.takeCustom(*pendingCustom);
    } else if (!kind) {
      engine.take();
    } else {
      engine.take(*kind, *kind == TransitionKind::cut ? 0.0 : engine.transitionDuration.get());
    }
  };
  takeOn(target);
  if (isMain && verticalTakePending.get()) {
    verticalTakePending = false;
    takeOn(verticalSwitcher);
  }
}

void AppModel::cut(SwitcherEngine& target) { take(target, TransitionKind::cut); }

void AppModel::loadLayout(const MixerScene& scene) {
  const bool verticalOnly = scene.layers.empty() && scene.verticalLayers.has_value();
  if (layoutSyncHorizontal.get() && !verticalOnly) switcher.loadLayout(scene);
  if (layoutSyncVertical.get()) {
    if (auto view = scene.verticalScene()) {
      if (view->transition != scene.transition) view->transition = scene.transition;
      if (switcher.studioMode.get()) {
        verticalSwitcher.stageLayout(*view);
        verticalTakePending = true;
      } else {
        verticalSwitcher.loadLayout(*view);
      }
    } else {
      verticalSwitcher.forgetLoadedLayout();
    }
  }
  verticalScratchPinned = false;
}

}  // namespace tavorin

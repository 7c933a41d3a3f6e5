#pragma once

#include <atomic>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/EncoderConsumers.h"
#include "app/FireGraphics.h"
#include "app/LayoutWriteBack.h"
#include "app/AudioDevices.h"
#include "app/CaptureDevices.h"
#include "app/RecordingController.h"
#include "app/RemoteControl.h"
#include "app/ReplayController.h"
#include "app/ScreenshotWriter.h"
#include "app/SoundEffects.h"
#include "app/SessionKeeper.h"
#include "app/StatsTicker.h"
#include "app/StatusStats.h"
#include "app/StreamingController.h"
#include "app/TileLook.h"
#include "audio/AudioMixerEngine.h"
#include "base/MainQueue.h"
#include "base/Published.h"
#include "base/SerialQueue.h"
#include "base/Uuid.h"
#include "compositor/CompositorEngine.h"
#include "control/HotkeyManager.h"
#include "model/CanvasSize.h"
#include "model/Deck.h"
#include "model/FrameRate.h"
#include "model/MixerScene.h"
#include "model/ShapeConfig.h"
#include "model/SessionState.h"
#include "model/TextConfig.h"
#include "model/TransitionKind.h"
#include "outputs/ProgramRecorder.h"
#include "outputs/ReplayBuffer.h"
#include "platform/media/SharedEncoders.h"
#include "platform/secrets/SecretStore.h"
#include "sources/LoopingVideoSource.h"
#include "base/Debouncer.h"
#include "graphics/OverlayStarters.h"
#include "platform/web/WebEngine.h"
#include "sources/SourceFactory.h"
#include "sources/SourceLifecycle.h"
#include "stores/DeckStore.h"
#include "stores/LayoutStore.h"
#include "stores/MixerSettingsStore.h"
#include "stores/PreferenceKeys.h"
#include "stores/Preferences.h"
#include "stores/RecordingsRoot.h"
#include "stores/SessionStore.h"
#include "stores/OverlayStore.h"
#include "stores/ShowFolder.h"
#include "stores/SourcesStore.h"
#include "stores/StreamDestinationStore.h"
#include "stores/VideoEffectPresetStore.h"
#include "stores/StreamKeyStore.h"
#include "stores/TransitionStore.h"
#include "stores/UnreadableFiles.h"
#include "streaming/StreamingEngine.h"
#include "switcher/PreviewEditor.h"
#include "switcher/SwitcherEngine.h"

namespace tavorin {

// Where the show lives and which main queue it runs on. The command line may
// replace both folders so tests and scripts never touch the user's data.
struct AppEnvironment {
  std::filesystem::path showFolder;
  std::filesystem::path preferencesFile;
  MainQueue& queue;
  // The process's GPU context; without one there is no frame clock (tests of
  // the model alone).
  GLContext* glContext = nullptr;
  // The machine's audio devices; without them the mixer mixes but nothing plays.
  AudioBackend* audioBackend = nullptr;
  // The machine's cameras and screens; without them none can be added.
  CameraDirectory* cameraDirectory = nullptr;
  ScreenCaptureBackend* screenCapture = nullptr;
  // Where recordings go when the operator's folder is unset or unusable.
  std::filesystem::path recordingsFallback = defaultRecordingsRoot();
  // Stream keys go to the desktop's Secret Service when one answers; without
  // it (and always in tests) to "secrets.json" in the show folder, mode 0600.
  bool useSecretService = false;
  // Shows a saved recording in the desktop's file manager; unset without a
  // desktop (headless, tests).
  std::function<void(const std::filesystem::path&)> revealInFileManager = {};
  // What watches the deck's keys while other programs have focus; without it
  // (headless, tests) no key is bound.
  std::unique_ptr<GlobalKeyService> globalKeys = {};
  // Where the phone remote listens; tests move it off the fixed ports.
  RemotePorts remotePorts = {};
};

// Owns every engine and store from start to quit, links them once at start,
// and is the facade of the operator's commands. Main thread only.
class AppModel {
  // Declared first: the fields below are built from them.
  MainQueue& queue_;
  AudioBackend* audioBackend_;
  ShowFolder showFolder_;
  Preferences preferences_;
  std::filesystem::path recordingsFallback_;
  MixerSettingsStore mixerSettings_;

 public:
  enum class EditCanvas { horizontal, vertical };

  static constexpr std::size_t kLogLimit = 200;

  explicit AppModel(AppEnvironment environment);
  ~AppModel();
  AppModel(const AppModel&) = delete;
  AppModel& operator=(const AppModel&) = delete;

  // The start-up steps, in order; call once after construction.
  void start();
  // Outputs closing at quit get this long, side by side, before the process
  // goes without them: a stuck encoder or a silent server cannot hold it.
  static constexpr double kQuitCloseSeconds = 3.0;

  // The quit path: writes the session (and any layout edit still waiting to
  // be written), then closes the recording and the streams within
  // kQuitCloseSeconds. False when one of them was still closing then; the
  // process should end without waiting for it.
  bool willTerminate();

  // Appends one operator-visible line; at most kLogLimit lines are kept.
  void appendLog(std::string line);

  // Operator commands.
  void take(SwitcherEngine& target, std::optional<TransitionKind> kind = std::nullopt);
  void cut(SwitcherEngine& target);
  void loadLayout(const MixerScene& scene);
  // A deck tile's layout with a custom transition of its own: taken at once in
  // direct mode, or by the next take in studio mode.
  void loadLayout(const Uuid& id, std::optional<Uuid> takeTransition);
  void fireTransition(const Uuid& id);
  // A scene of the black still ("still:black", made when missing) cut to Program.
  void punchBlack();
  // The holding card (muteSourceID, else the first still), in or out through a
  // take, with Program audio off air while it is up.
  void punchBRB();
  // "Tavorin-shot-<date-time>.png" of the newest Program frame in the recordings folder.
  void screenshotProgram();
  // The main canvas's resolution, kept in "Tavorin.canvasSize". A recording
  // running at the old size is closed first, and the log says why it ended.
  void setCanvasSize(CanvasSize size);
  // Program's frame rate, kept in "Tavorin.frameRate": the frame clock never
  // ticks faster and recordings are written at it. A recording at the old rate
  // is closed first, as for the canvas size; rates not offered are ignored.
  void setFrameRate(int fps);
  // The first-launch guide is done (or skipped): it does not come back.
  void finishOnboarding();
  void restartAudio() { audioMixer.restartAudio(); }
  // Sources: the lifecycle's own operations, and removal, which also forgets the stored entry.
  bool addSource(std::shared_ptr<BaseSource> source) { return sourceLifecycle.addSource(std::move(source)); }
  void removeSource(const std::string& id);
  // A picture file joins the show as a still, kept in the image library; its
  // source id, or nothing when the file is missing or unreadable (logged).
  std::optional<std::string> addImageSource(const std::filesystem::path& file);
  // A video file joins the show as a looping clip, kept in the clips library;
  // its source id, or nothing when the file can't be played (logged).
  // A file already in `library` is used where it stands.
  std::optional<std::string> addClipSource(const std::filesystem::path& file,
                                           ShowFolder::Library library = ShowFolder::Library::clips);
  // Web pages: an overlay of the library (one source per item), any address
  // (blank: a web search's home page), an overlay's param (pushed to the page
  // and stored), its replay. The id of the source, or nothing when it could not be made.
  std::optional<std::string> addOverlayToShow(const OverlayItem& item);
  std::optional<std::string> addBrowserSource(const std::string& address);
  // A network camera from its rtsp:// address, with the user and password of
  // the dialog (either may also be in the address); the password is kept in
  // the secret store. Its id, or nothing when the address is refused (logged)
  // or the camera is already in the show.
  std::optional<std::string> addRTSPSource(const std::string& url, const std::string& name, const std::string& user,
                                           const std::string& password);
  void setOverlayParam(const std::string& sourceID, const std::string& key, const std::string& value);
  void replayOverlay(const std::string& sourceID);
  // A new library item from the starter's design, added to the show with a
  // layer where the design belongs in the scene being edited.
  std::optional<std::string> addOverlayStarter(OverlayStarter starter);
  // Lays every overlay out at the largest size a layer of the main or the
  // vertical Preview or Program shows it at; runs 0.25 s after they change.
  void fitOverlays();
  // Cues. The toggle is what tiles, keys, the remote and the panel press.
  void fireGraphic(const Uuid& id) { fireGraphics.fireGraphic(id); }
  // A cue staged on the canvas in focus for editing, until the layer's ✨ saves it back.
  void stageCue(const Uuid& id);
  // The cue's layer added to the scene being edited, with no editing mark.
  void addCueLayer(const Uuid& id);
  // The layer's ✨: saves it back into the staged cue, or makes a new cue of it
  // (opened in its editor). Nothing when the canvas in focus has no such layer.
  void saveLayerAsCue(const Uuid& layerID);
  // A new cue of a library overlay, or of a source of the show; opened in its editor.
  std::optional<Uuid> makeCueFromOverlay(const Uuid& overlayID);
  std::optional<Uuid> makeCueFromSource(const std::string& sourceID);
  // A clip's transport and trim; ids that are no clip change nothing.
  void setClipTrim(const std::string& id, double start, std::optional<double> end);
  void playClip(const std::string& id);
  void pauseClip(const std::string& id);
  void seekClip(const std::string& id, double seconds);
  // The clip's trimmed range copied, not re-encoded, into a new clip of the library; logged as it goes.
  void exportClipTrim(const std::string& id);
  // The clip with that id, for its editor; null for other ids.
  LoopingVideoSource* findClip(const std::string& id) const;
  // The black still ("still:black"), made and stored when missing; its id.
  std::string addBlackSource();
  // Titles and shapes join the show and the store; the new source's id. A
  // title starts with the default design, a shape filled with `color`.
  std::string addTextSource();
  std::string addShapeSource(ShapeType shape, RGBAColor color);
  // A new design for a title or shape of the show (the panels, the deck, the
  // remote): drawn, then saved. False when the id is no such source.
  bool setTextConfig(const std::string& id, TextConfig config);
  bool setShapeConfig(const std::string& id, ShapeConfig config);
  // The operator's name for a source, kept in mediaNames and the store; a blank name changes nothing.
  void renameSource(const std::string& id, const std::string& name);
  // The name the operator knows a source by: mediaNames, else the source's own, else the id.
  std::string displayName(const std::string& sourceID) const;
  void restartSource(const std::string& id) { sourceLifecycle.restartSource(id); }
  bool isParked(const std::string& id) const { return sourceLifecycle.isParked(id); }

  SessionState currentSession() const { return sessionKeeper_.current(); }
  // The window's place and size as it was left; null before a window was ever closed.
  Json windowState() const { return preferences_.getJSON(prefkey::windowState).value_or(Json()); }
  void setWindowState(Json state) { preferences_.setJSON(prefkey::windowState, std::move(state)); }
  const ShowFolder& showFolder() const { return showFolder_; }
  MainQueue& queue() const { return queue_; }

  // Echo of every log line as it is logged; the headless runner sends it to stderr.
  std::function<void(const std::string&)> onLogLine;

  // Fields, in construction order.
  Published<std::vector<std::string>> log;
  AudioMixerEngine audioMixer;
  // Device lists, virtual devices, the machine's sound and the application channels.
  AudioDevices audioDevices;
  // The sound-effects library and what fires its sounds.
  SoundEffects soundEffects;
  SwitcherEngine switcher;
  SwitcherEngine verticalSwitcher;
  SwitcherEngine studioSwitcher;
  // The operator's layer edits and selection, one editor per switcher's Preview.
  PreviewEditor editor{switcher};
  PreviewEditor verticalEditor{verticalSwitcher};
  PreviewEditor studioEditor{studioSwitcher};
  // The frame clock's map of the sources' newest frames; the lifecycle keeps it in step with `sources`.
  FrameSlotMap frameSlots;
  std::unique_ptr<CompositorEngine> engine;
  // Render overlays, and browser pages on the show's web profile; each
  // browser starts with its first page.
  std::unique_ptr<WebEngine> webEngine;
  std::unique_ptr<WebEngine> browserEngine;
  SourceFactory sourceFactory;
  SourceLifecycle sourceLifecycle;
  Published<SourceLifecycle::SourceList>& sources = sourceLifecycle.sources;
  Published<std::set<std::string>>& studioWakeIDs = sourceLifecycle.studioWakeIDs;
  // Names the operator gave sources, by source id.
  Published<std::map<std::string, std::string>> mediaNames;
  // The holding card's source, when the operator chose one.
  Published<std::optional<std::string>> muteSourceID;
  LayoutStore layoutStore;
  // The operator's decks; the active one's scene library is the one open in layoutStore.
  DeckStore deckStore;
  // The keys that press the active deck's tiles from anywhere on the desktop.
  HotkeyManager hotkeys;
  TransitionStore transitionStore;
  Published<EditCanvas> editCanvas;
  Published<bool> layoutSyncHorizontal;
  Published<bool> layoutSyncVertical;
  Published<std::optional<Uuid>> pendingTakeTransition;
  Published<bool> verticalScratchPinned;
  Published<bool> verticalTakePending;
  SourcesStore sourcesStore;
  // The HTML overlays of the show's library.
  OverlayStore overlayStore{showFolder_};
  // Cues fired over Program, and their library.
  FireGraphics fireGraphics;
  // The operator's own looks (filter stacks) for layers.
  VideoEffectPresetStore videoLooks{showFolder_};
  SessionStore sessionStore;
  // Cameras and screens: the lists, their sources, their quality.
  CaptureDevices capture;
  std::vector<std::string> savedAudioInputIDs;
  std::optional<std::string> savedProgramOutputUID;
  Published<CanvasSize> canvasSize;
  Published<int> frameRate;
  Published<bool> showOnboarding;
  Published<std::string> recordingsFolderPath;
  // Every encoder the recorder and the streams run; outputs at one encoding share one.
  SharedEncoders encoders;
  ProgramRecorder recorder;
  RecordingController recording;
  // The last moments of Program, saved on demand; its settings and save command.
  ReplayBuffer replay;
  ReplayController replays;
  // The cue that plays the newest saved replay full-canvas over Program.
  static const Uuid kReplayCueID;
  std::unique_ptr<SecretStore> secretStore;
  StreamKeyStore streamKeys;
  StreamDestinationStore streamStore;
  StreamingEngine streaming;
  StreamingController streamingControl;
  StatusStats stats;
  // The phone remote: the active deck on any phone on the network.
  RemoteControl remote;

  // Recording; each logs what happened in the operator's words. A loop
  // capture becomes a clip of the show.
  void startRecording() { recording.start(); }
  void stopRecording() { recording.stop(); }
  void toggleRecording() { recording.toggle(); }
  void setRecordingPaused(bool on) { recording.setPaused(on); }
  void startLoopCapture(double seconds) { recording.startLoopCapture(seconds); }
  // Kept in the preferences for the next start.
  void setRecordQuality(ProgramRecorder::Quality quality) { recording.setRecordQuality(quality); }
  void setRecordVideo(const std::string& sourceID, bool armed) { recording.setRecordVideo(sourceID, armed); }
  // The folder that recordings and screenshots go to now.
  std::filesystem::path currentRecordingsRoot() const;

  // Saves the last seconds of Program to "Replays" (and, when the operator
  // wants it, adds them to the show as a clip and the "Replay" cue).
  void saveReplay() { replays.save(); }
  // Fires the "Replay" cue: the newest saved replay over Program, then gone.
  void playReplay();
  // The "Replay" cue is there and its clip is in the show.
  bool canPlayReplay() const;

  // The deck. Every press of a tile, on screen, by a hotkey or from the
  // phone, comes to runTile.
  void runTile(const DeckTile& tile);
  void runAction(const DeckAction& action);
  // The generated title, colour, symbol and tally of an action, and a tile's
  // look with its own label, colour and symbol over them.
  TileLook tileSummary(const DeckAction& action) const;
  TileLook tileLook(const DeckTile& tile) const;
  // A fader tile's value, 0 to 1 for a channel level of 0 to 2 (0.5 is unity);
  // nothing for other tiles or a channel that is gone.
  std::optional<double> tileValue(const DeckTile& tile) const;
  void setTileValue(const DeckTile& tile, double value);
  // The two keys that are always there: Ctrl+Alt+Super+M toggles the compact
  // window (the window sets this), Ctrl+Alt+Super+P the presenter bar.
  std::function<void()> onToggleMiniMode;
  // Tiles of the active deck whose key the desktop refused (another program
  // holds it, or an earlier tile has it): the deck marks them.
  Published<std::set<Uuid>> refusedHotkeyTiles;
  // Empty while keys reach us from anywhere; otherwise why they work only
  // while the window has focus, in the operator's words.
  Published<std::string> hotkeyNotice;
  // A key pressed in the window (evdev code, key_modifier bits): runs its
  // tile when keys are not global, as then nothing else would.
  void pressHotkeyInWindow(std::uint32_t evdevCode, std::uint32_t modifiers);

  // Streaming.
  void toggleStream(const Uuid& id) { streamingControl.toggle(id); }
  void goLive(const std::string& urlWithKey) { streamingControl.goLive(urlWithKey); }
  void removeStreamDestination(const Uuid& id) { streamingControl.remove(id); }

  // Hands the current device lists to the mixer: restores the operator's inputs
  // and the Program output, rebinds channels whose device came or went.
  void refreshAudioDevices();
  // The machine's default output, when there is an audio service and it has one.
  std::optional<AudioOutputDevice> defaultAudioOutput() const;
  // The machine's outputs; none without an audio service.
  std::vector<AudioOutputDevice> audioOutputs() const;

 private:
  void bindSwitcherClosures();
  void bindCustomTransitions();
  void bindAudioMixer();
  // A new device list may bring back what stored sources wait for.
  void refreshDevices();
  // A finished loop capture joins the show's sources as a clip.
  void addLoopClip(const std::filesystem::path& file);
  // A saved replay becomes a clip and what the "Replay" cue shows.
  void replaySaved(const ReplayBuffer::Saved& saved);
  // Clips rebuilt from the store: the trim applied and written back, the sound on a mixer channel.
  std::shared_ptr<BaseSource> makeClipSource(const SavedSource& saved);
  std::shared_ptr<BaseSource> makeOverlaySource(const SavedSource& saved);
  std::shared_ptr<BaseSource> makeBrowserSource(const SavedSource& saved);
  void startWebSources();
  void registerRTSPKind();
  std::shared_ptr<BaseSource> makeRTSPSource(const std::string& id, const std::string& name, const std::string& storedURL);
  // A camera leaving the show takes its password and its sound's channel with it.
  void forgetRTSPCamera(const std::string& id);
  // The source id a cue's layer shows on the canvas, made ready for editing; nothing when it is missing.
  std::optional<std::string> cueSourceForCanvas(const FireGraphic& graphic, const char* missingMedia);
  // The staged layer of a cue in the scene being edited; nothing when it is missing.
  std::optional<Uuid> placeCueLayer(const FireGraphic& graphic, const char* missingMedia);
  Debouncer fitOverlaysLater_{queue_, 0.25, [this] { fitOverlays(); }};
  // The 3D text pose driver of a custom transition's tracks; empty when none poses a 3D text source.
  std::function<void(float)> makePoseUpdate(const CustomTransition& custom);
  void bindEngine();
  void bindHardwareEncoding();
  // Rebuilds the stored sources that are not in the show yet, in stored order.
  void restoreSources();
  // A title or shape saves every new design to the store under its id.
  void saveDesignChanges(BaseSource& source);
  // A restored title is known by the start of its text.
  void nameAfterText(const BaseSource& source);
  void subscribeSelectionExclusivity();
  void restoreStudioMode();
  // Scene and transition changes tell the lifecycle to look again at what is in use.
  void subscribeSourceUse();
  void startStatsTick();
  // Runs the library migrations, applies the active deck and follows deck switches.
  void startDecks();
  // Writes the scenes being edited into the deck being left, then opens the
  // active deck's scene library.
  void applyActiveDeck();
  // The global keys: the two fixed ones, then the active deck's tiles in order.
  void rebuildHotkeys();
  void refreshHotkeyNotice();

  SessionKeeper sessionKeeper_{queue_, switcher, sessionStore};
  LayoutWriteBack layoutWriteBack_{queue_, switcher, layoutStore, LayoutWriteBack::Design::horizontal};
  LayoutWriteBack verticalWriteBack_{queue_, verticalSwitcher, layoutStore, LayoutWriteBack::Design::vertical};
  std::vector<Subscription> subscriptions_;
  TimerHandle hotkeyWatch_;
  bool started_ = false;
  StatsTicker statsTicker_;
  // The model waits for the screenshots still being written before it goes.
  ScreenshotWriter screenshots_{queue_};
  // Tasks posted to the main queue hold this weakly and do nothing once the model is gone.
  std::shared_ptr<AppModel*> self_ = std::make_shared<AppModel*>(this);
  // The Program canvas in pixels, as the render thread reads it: one word, so never half of a change.
  struct ProgramPixels {
    int width = 0;
    int height = 0;
  };
  std::atomic<ProgramPixels> programPixels_{};
  // Goes early, while the engine and the encoders it links are still there.
  std::unique_ptr<EncoderConsumers> encoderConsumers_;
  // Last, so that it goes first: a store's file kept because it could not be read is logged.
  UnreadableFileReport unreadableFiles_{{showFolder_.root(), preferences_.path().parent_path()},
                                       [this](const std::string& line) { appendLog(line); }};
  // Trim exports copy files off the main thread; last, so queued copies finish while the model still stands.
  SerialQueue exportQueue_{"Tavorin.Export"};
};

}  // namespace tavorin

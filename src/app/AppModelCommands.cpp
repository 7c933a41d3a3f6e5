// The operator's commands that belong to no single engine: layouts with a
// transition of their own, the black and holding-card punches, fired
// transitions, the Program screenshot and the canvas size.
#include "app/AppModel.h"
#include "stores/PreferenceKeys.h"
#include "stores/RecordingsRoot.h"
#include "stores/TimeStamp.h"

namespace tavorin {

namespace {

const std::string kBlackID = "still:black";

}  // namespace

void AppModel::fireTransition(const Uuid& id) { switcher.fireTransition(id); }

void AppModel::loadLayout(const Uuid& id, std::optional<Uuid> takeTransition) {
  std::optional<MixerScene> scene;
  for (const MixerScene& layout : layoutStore.layouts.get()) {
    if (layout.id == id) scene = layout;
  }
  if (!scene) return;
  std::optional<CustomTransition> custom;
  if (takeTransition) custom = transitionStore.find(*takeTransition);
  if (!custom) {
    pendingTakeTransition = std::nullopt;
    loadLayout(*scene);
    return;
  }
  const bool verticalOnly = scene->layers.empty() && scene->verticalLayers.has_value();
  if (!verticalOnly) switcher.stageLayout(*scene);
  const auto vertical = scene->verticalScene();
  const bool stagedVertical = layoutSyncVertical.get() && vertical.has_value();
  if (stagedVertical) verticalSwitcher.stageLayout(*vertical);
  if (switcher.studioMode.get()) {
    pendingTakeTransition = custom->id;
    verticalTakePending = stagedVertical;
  } else {
    switcher.takeCustom(*custom);
    if (stagedVertical) verticalSwitcher.takeCustom(*custom);
  }
  verticalScratchPinned = false;
}

std::string AppModel::addBlackSource() {
  if (!sourceLifecycle.find(kBlackID)) {
    SavedSource black;
    black.id = kBlackID;
    black.kind = SavedSource::Kind::black;
    black.name = "Black";
    sourcesStore.upsert(black);
    if (auto source = sourceFactory.make(black)) addSource(std::move(source));
  }
  return kBlackID;
}

void AppModel::punchBlack() {
  addBlackSource();
  MixerScene scene = MixerScene::named("Black");
  scene.layers.push_back(LayerState::make(kBlackID));
  switcher.stageLayout(scene);
  cut(switcher);
}

void AppModel::punchBRB() {
  // Taking the card down needs no card: it goes even when its source was deleted.
  if (switcher.brbActive.get()) {
    switcher.toggleBRB({}, {});
    return;
  }
  std::optional<std::string> card = muteSourceID.get();
  for (const auto& source : sources.get()) {
    if (card) break;
    if (source->kind() == SourceKind::still) card = source->id();
  }
  if (!card) return;
  switcher.toggleBRB(*card, displayName(*card));
}

void AppModel::screenshotProgram() {
  static constexpr const char* kEmpty = "Nothing to screenshot — the Program is empty.";
  if (!engine) {
    appendLog(kEmpty);
    return;
  }
  const auto file = currentRecordingsRoot() / ("Tavorin-shot-" + fileTimeStamp() + ".png");
  // Taken on the writer's thread: Program is drawn for the shot even while
  // nothing else takes it, and the main thread never waits on it.
  std::weak_ptr<AppModel*> weakSelf = self_;
  CompositorEngine& compositor = *engine;
  screenshots_.write([&compositor] { return compositor.drawnFrame(Canvas::program); }, file,
                     [weakSelf](const std::filesystem::path& written, bool ok, const std::string& error) {
                       auto self = weakSelf.lock();
                       if (!self) return;
                       if (ok) {
                         (*self)->appendLog("Screenshot saved: " + written.filename().string());
                       } else {
                         (*self)->appendLog(error.empty() ? kEmpty : "Screenshot failed: " + error);
                       }
                     });
}

void AppModel::finishOnboarding() {
  preferences_.setBool(prefkey::onboardingDone, true);
  showOnboarding = false;
}

void AppModel::setCanvasSize(CanvasSize size) {
  preferences_.setString(prefkey::canvasSize, std::string(enumName(size)));
  if (size == canvasSize.get()) return;
  // The file was opened at the old size: it is closed whole before frames of the new size come.
  const Size pixels = pixelSize(size);
  recording.endBecause("Recording ended: the canvas changed to " + std::to_string(static_cast<int>(pixels.width)) +
                       "×" + std::to_string(static_cast<int>(pixels.height)) + ".");
  canvasSize = size;
}

void AppModel::setFrameRate(int fps) {
  if (validFrameRate(fps) != fps) return;
  preferences_.setInt(prefkey::frameRate, fps);
  if (fps == frameRate.get()) return;
  recording.endBecause("Recording ended: the frame rate changed to " + std::to_string(fps) + " fps.");
  frameRate = fps;
}

}  // namespace tavorin

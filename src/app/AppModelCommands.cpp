// The operator's commands that belong to no single engine: layouts with a
// transition of their own, the black and holding-card punches, fired
// transitions and the Program screenshot.
#include <future>

#include "app/AppModel.h"
#include "base/ThreadName.h"
#include "platform/media/PngWriter.h"
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

void AppModel::punchBlack() {
  if (!sourceLifecycle.find(kBlackID)) {
    SavedSource black;
    black.id = kBlackID;
    black.kind = SavedSource::Kind::black;
    black.name = "Black";
    sourcesStore.upsert(black);
    if (auto source = sourceFactory.make(black)) addSource(std::move(source));
  }
  MixerScene scene = MixerScene::named("Black");
  scene.layers.push_back(LayerState::make(kBlackID));
  switcher.stageLayout(scene);
  cut(switcher);
}

void AppModel::punchBRB() {
  for (const auto& source : sources.get()) {
    if (source->kind() != SourceKind::still) continue;
    switcher.toggleBRB(source->id(), "Be right back");
    return;
  }
}

void AppModel::screenshotProgram() {
  static constexpr const char* kEmpty = "Nothing to screenshot — the Program is empty.";
  if (!engine) {
    appendLog(kEmpty);
    return;
  }
  const auto file = currentRecordingsRoot() / ("Tavorin-shot-" + fileTimeStamp() + ".png");
  // Off the main thread: Program is drawn for the shot even while nothing
  // else takes it, and encoding a 1080p PNG takes a while.
  std::weak_ptr<AppModel*> weakSelf = self_;
  MainQueue& queue = queue_;
  CompositorEngine& compositor = *engine;
  screenshotWrite_ = std::async(std::launch::async, [&compositor, file, weakSelf, &queue] {
    nameThisThread("Tavorin.Shot");
    const FrameRef frame = compositor.drawnFrame(Canvas::program);
    std::string error;
    const bool empty = !frame;
    const bool written = frame && writePNG(*frame, file, &error);
    queue.post([weakSelf, empty, written, file, error] {
      auto self = weakSelf.lock();
      if (!self) return;
      if (empty) {
        (*self)->appendLog(kEmpty);
      } else {
        (*self)->appendLog(written ? "Screenshot saved: " + file.filename().string() : "Screenshot failed: " + error);
      }
    });
  });
}

}  // namespace tavorin

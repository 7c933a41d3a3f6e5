#include "switcher/SwitcherEngine.h"

#include <algorithm>

namespace tavorin {

SwitcherEngine::SwitcherEngine(Role role, MainQueue& queue) : role(role), queue_(queue) {}

SwitcherEngine::~SwitcherEngine() = default;

double SwitcherEngine::canvasAspect() const {
  Size canvas{16, 9};
  if (canvasPixelSize) {
    if (auto size = canvasPixelSize()) canvas = *size;
  }
  return canvas.width / std::max(canvas.height, 1.0);
}

Size SwitcherEngine::sourceSize(const std::string& sourceID) const {
  if (sourcePixelSize) {
    if (auto size = sourcePixelSize(sourceID)) return *size;
  }
  return {canvasAspect(), 1};
}

void SwitcherEngine::setSelectedTransition(TransitionKind kind) { selectedTransition_ = kind; }

void SwitcherEngine::setSelectedCustomTransition(std::optional<CustomTransition> custom) {
  selectedCustomTransition_ = std::move(custom);
}

void SwitcherEngine::setTransitionDuration(double seconds) { transitionDuration_ = seconds; }

void SwitcherEngine::setLockAspectRatio(bool on) { lockAspectRatio_ = on; }

void SwitcherEngine::restoreSession(MixerScene program, MixerScene preview) {
  programScene_ = std::move(program);
  previewScene_ = std::move(preview);
  publishSnapshot();
  applyAudioFollow();
}

bool SwitcherEngine::editPreview(const std::function<bool(MixerScene& preview)>& edit) {
  MixerScene scene = previewScene_.get();
  if (!edit(scene)) return false;
  previewScene_ = std::move(scene);
  publishSnapshot();
  return true;
}

void SwitcherEngine::setWholeFrameLayer(std::optional<Uuid> layerID) { wholeFrameLayerID_ = layerID; }

void SwitcherEngine::take() {
  // Copies: the calls below notify observers, who may change what they came from.
  if (const auto transition = previewScene_->transition) {
    if (transition->customID && customTransitionLookup) {
      if (auto custom = customTransitionLookup(*transition->customID)) {
        takeCustom(*custom);
        return;
      }
    }
    if (transition->kind) {
      if (auto kind = enumFromName<TransitionKind>(*transition->kind)) {
        take(*kind, transition->duration);
        return;
      }
    }
  }
  if (const auto custom = selectedCustomTransition_.get()) {
    takeCustom(*custom);
    return;
  }
  take(selectedTransition_.get(), transitionDuration_.get());
}

void SwitcherEngine::take(TransitionKind kind, double duration) {
  if (isTransitioning_.get()) return;
  brbActive_ = false;
  MixerScene from = programScene_.get();
  MixerScene to = previewScene_.get();

  if (kind == TransitionKind::cut) {
    programScene_ = to;
    swapStep(from);
    publishSnapshot();
    applyAudioFollow();
    return;
  }

  auto transition = std::make_shared<ActiveTransition>();
  transition->kind = kind;
  transition->startTime = queue_.now();
  transition->duration = duration;
  // Match move interpolates the rectangles the sources really fill; the
  // completion still puts the scenes as they were.
  transition->from = kind == TransitionKind::matchMove ? preparedForMatchMove(from) : from;
  transition->to = kind == TransitionKind::matchMove ? preparedForMatchMove(to) : to;
  startTransition(std::move(transition), TakeScenes{std::move(to), std::move(from)});
}

void SwitcherEngine::takeCustom(const CustomTransition& custom) {
  if (isTransitioning_.get()) return;
  brbActive_ = false;
  runCustom(custom, previewScene_.get(), true);
}

void SwitcherEngine::playOverProgram(const CustomTransition& custom) {
  if (isTransitioning_.get()) return;
  runCustom(custom, programScene_.get(), false);
}

void SwitcherEngine::runCustom(const CustomTransition& custom, MixerScene to, bool changesScenes) {
  startCustomMedia(custom);
  auto transition = std::make_shared<ActiveTransition>();
  transition->kind = TransitionKind::crossfade;
  transition->startTime = queue_.now();
  transition->duration = custom.duration;
  transition->from = programScene_.get();
  transition->to = std::move(to);
  transition->custom = custom;
  if (makePoseUpdate) transition->poseUpdate = makePoseUpdate(custom);
  std::optional<TakeScenes> scenes;
  if (changesScenes) scenes = TakeScenes{transition->to, transition->from};
  startTransition(std::move(transition), std::move(scenes));
  currentActiveCustom_ = custom;
}

void SwitcherEngine::startCustomMedia(const CustomTransition& custom) {
  if (prepareTransitionSources) prepareTransitionSources(custom);
  if (playTransitionSound) {
    for (const auto& sound : custom.sounds) playTransitionSound(sound);
  }
}

void SwitcherEngine::startTransition(std::shared_ptr<ActiveTransition> transition, std::optional<TakeScenes> scenes) {
  const double duration = transition->duration;
  store_.setActive(std::move(transition));
  isTransitioning_ = true;
  const std::uint64_t generation = ++transitionGeneration_;
  std::weak_ptr<SwitcherEngine*> weak = self_;
  completionTimer_ = queue_.after(duration, [weak, generation, scenes = std::move(scenes)] {
    if (auto self = weak.lock()) (*self)->completeTransition(generation, scenes);
  });
}

void SwitcherEngine::completeTransition(std::uint64_t generation, const std::optional<TakeScenes>& scenes) {
  if (generation != transitionGeneration_) return;
  if (scenes) {
    programScene_ = scenes->to;
    swapStep(scenes->from);
  }
  store_.clearActive();
  publishSnapshot();
  applyAudioFollow();
  // Cleared before the flag drops: its observers may start the next take.
  currentActiveCustom_.reset();
  isTransitioning_ = false;
}

void SwitcherEngine::cancelTransition() {
  ++transitionGeneration_;
  store_.clearActive();
  currentActiveCustom_.reset();
  if (isTransitioning_.get()) isTransitioning_ = false;
  publishSnapshot();
}

// After a take in studio mode, Preview holds what was on air, unless nothing was.
void SwitcherEngine::swapStep(const MixerScene& oldProgram) {
  if (!studioMode_.get() || oldProgram.layers.empty()) return;
  leaveLoadedLayout();
  loadedLayoutID_ = std::nullopt;
  previewScene_ = oldProgram;
}

MixerScene SwitcherEngine::preparedForMatchMove(MixerScene scene) const {
  const double aspect = canvasAspect();
  for (auto& layer : scene.layers) {
    if (layer.fill) continue;
    const Size source = sourceSize(layer.sourceID);
    const double widthPixels = source.width * layer.cropRect.width();
    const double heightPixels = source.height * layer.cropRect.height();
    if (widthPixels > 0 && heightPixels > 0) {
      const double r = widthPixels / std::max(heightPixels, 0.0001) / std::max(aspect, 0.0001);
      const double w = layer.size.width;
      const double h = layer.size.height;
      if (w / std::max(h, 0.0001) < r) {
        layer.size.height = w / std::max(r, 0.0001);
      } else {
        layer.size.width = r * h;
      }
    }
    layer.fill = true;
  }
  return scene;
}

void SwitcherEngine::leaveLoadedLayout() {
  if (loadedLayoutID_.get() && onLeavingLoadedLayout) {
    onLeavingLoadedLayout(*loadedLayoutID_.get(), previewScene_.get());
  }
}

void SwitcherEngine::forgetLoadedLayout() { loadedLayoutID_ = std::nullopt; }

void SwitcherEngine::replacePreview(MixerScene scene, Mirror mirror) {
  leaveLoadedLayout();
  loadedLayoutID_ = std::nullopt;
  previewScene_ = std::move(scene);
  publish(mirror);
}

void SwitcherEngine::stageLayout(const MixerScene& scene) {
  replacePreview(scene, Mirror::never);
  loadedLayoutID_ = scene.id;
}

void SwitcherEngine::loadLayout(const MixerScene& scene) {
  if (studioMode_.get()) {
    replacePreview(scene, Mirror::inDirectMode);
    loadedLayoutID_ = scene.id;
    return;
  }
  stageLayout(scene);
  take();
}

void SwitcherEngine::toggleBRB(const std::string& sourceID, const std::string& sceneName) {
  if (brbActive_.get()) {
    if (preBRBProgram_) {
      replacePreview(*preBRBProgram_, Mirror::inDirectMode);
      take();
    }
    if (setProgramMuted) setProgramMuted(false);
    preBRBProgram_.reset();
    brbActive_ = false;
    return;
  }
  preBRBProgram_ = programScene_.get();
  MixerScene card = MixerScene::named(sceneName);
  card.layers.push_back(LayerState::make(sourceID));
  replacePreview(std::move(card), Mirror::inDirectMode);
  take();
  if (setProgramMuted) setProgramMuted(true);
  brbActive_ = true;
}

void SwitcherEngine::setFireLayers(std::vector<LayerState> layers) {
  std::set<std::string> fired;
  for (const auto& layer : layers) fired.insert(layer.sourceID);
  store_.setFire(std::move(layers));
  // A fired clip is on Program too: its sound follows it there.
  if (fired == firedSourceIDs_) return;
  firedSourceIDs_ = std::move(fired);
  applyAudioFollow();
}

void SwitcherEngine::publishSnapshot() { publish(Mirror::inDirectMode); }

void SwitcherEngine::publish(Mirror mirror) {
  if (mirror == Mirror::inDirectMode && !studioMode_.get() && !isTransitioning_.get() &&
      programScene_.get() != previewScene_.get()) {
    programScene_ = previewScene_.get();
  }
  auto program = std::make_shared<const MixerScene>(programScene_.get());
  auto display = std::make_shared<MixerScene>(previewScene_.get());
  if (wholeFrameLayerID_) {
    if (LayerState* layer = display->layer(*wholeFrameLayerID_)) {
      layer->cropRect = Rect{{0, 0}, {1, 1}};
      layer->fill = false;
    }
  }
  store_.publish(std::move(program), std::move(display));
}

void SwitcherEngine::setStudioMode(bool on) {
  studioMode_ = on;
  if (!on) {
    // Direct mode shows Program in the one window; nothing on air changes.
    leaveLoadedLayout();
    loadedLayoutID_ = std::nullopt;
    previewScene_ = programScene_.get();
  }
  store_.setFireInPreview(!on && role == Role::main);
  publishSnapshot();
}

std::set<std::string> SwitcherEngine::sourceIDsInUse() const {
  std::set<std::string> ids;
  auto addScene = [&](const MixerScene& scene) {
    for (const auto& layer : scene.layers) ids.insert(layer.sourceID);
  };
  auto addTracks = [&](const CustomTransition& custom) {
    for (const auto& track : custom.tracks) ids.insert(track.sourceID);
  };
  if (role != Role::studio) addScene(programScene_.get());
  addScene(previewScene_.get());
  if (currentActiveCustom_) addTracks(*currentActiveCustom_);
  for (const auto& [id, run] : firedRunsByID_) addTracks(run.custom);
  return ids;
}

void SwitcherEngine::applyAudioFollow() {
  if (!audioFollow) return;
  std::set<std::string> sourceIDs;
  for (const auto& layer : programScene_->layers) sourceIDs.insert(layer.sourceID);
  sourceIDs.insert(firedSourceIDs_.begin(), firedSourceIDs_.end());
  audioFollow(sourceIDs);
}

}  // namespace tavorin

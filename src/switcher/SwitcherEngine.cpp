#include "switcher/SwitcherEngine.h"

#include <algorithm>

#include "model/LayerFit.h"
#include "switcher/VideoFilterDefaults.h"

namespace tavorin {

namespace {

// True when the group has layers and every one of them has `flag` set.
bool everyMemberHas(const MixerScene& scene, const Uuid& groupID, bool LayerState::*flag) {
  bool any = false;
  for (const auto& layer : scene.layers) {
    if (layer.groupID != groupID) continue;
    if (!(layer.*flag)) return false;
    any = true;
  }
  return any;
}

int topZOrder(const MixerScene& scene) {
  int top = 0;
  bool any = false;
  for (const auto& layer : scene.layers) {
    top = any ? std::max(top, layer.zOrder) : layer.zOrder;
    any = true;
  }
  return top;
}

// One above the highest, 0 in an empty scene.
int zOrderAboveAll(const MixerScene& scene) { return scene.layers.empty() ? 0 : topZOrder(scene) + 1; }

void applyOrder(MixerScene& scene, const std::vector<Uuid>& topFirst) {
  const int count = static_cast<int>(topFirst.size());
  for (int i = 0; i < count; ++i) {
    for (auto& layer : scene.layers) {
      if (layer.id == topFirst[static_cast<std::size_t>(i)]) layer.zOrder = count - 1 - i;
    }
  }
}

void pruneEmptyGroups(MixerScene& scene) {
  std::erase_if(scene.groups, [&](const LayerGroup& group) {
    return std::none_of(scene.layers.begin(), scene.layers.end(),
                        [&](const LayerState& layer) { return layer.groupID == group.id; });
  });
}

// Renumbers the stack so that each group's layers lie together, where the
// group's topmost member stood; the other layers keep their places.
void compactStack(MixerScene& scene) {
  std::vector<const LayerState*> stack;
  stack.reserve(scene.layers.size());
  for (const auto& layer : scene.layers) stack.push_back(&layer);
  std::stable_sort(stack.begin(), stack.end(),
                   [](const LayerState* a, const LayerState* b) { return a->zOrder < b->zOrder; });
  std::reverse(stack.begin(), stack.end());

  std::vector<Uuid> order;
  order.reserve(stack.size());
  std::set<Uuid> placedGroups;
  for (const LayerState* layer : stack) {
    if (!layer->groupID) {
      order.push_back(layer->id);
      continue;
    }
    if (!placedGroups.insert(*layer->groupID).second) continue;
    for (const LayerState* member : stack) {
      if (member->groupID == layer->groupID) order.push_back(member->id);
    }
  }
  applyOrder(scene, order);
}

std::string trimmed(const std::string& text) {
  constexpr const char* kSpace = " \t\n\r\v\f";
  const auto first = text.find_first_not_of(kSpace);
  if (first == std::string::npos) return {};
  const auto last = text.find_last_not_of(kSpace);
  return text.substr(first, last - first + 1);
}

}  // namespace

SwitcherEngine::SwitcherEngine(Role role, MainQueue& queue) : role(role), queue_(queue) {}

SwitcherEngine::~SwitcherEngine() = default;

double SwitcherEngine::canvasAspect() const {
  Size canvas{16, 9};
  if (canvasPixelSize) {
    if (auto size = canvasPixelSize()) canvas = *size;
  }
  return canvas.width / std::max(canvas.height, 1.0);
}

Size SwitcherEngine::sourceSize(const std::string& sourceID, double aspect) const {
  if (sourcePixelSize) {
    if (auto size = sourcePixelSize(sourceID)) return *size;
  }
  return {aspect, 1};
}

template <class Fn>
bool SwitcherEngine::editPreviewLayer(Uuid id, Fn&& fn) {
  if (!previewScene->layer(id)) return false;
  previewScene.modify([&](MixerScene& scene) { fn(*scene.layer(id)); });
  return true;
}

// Take family

void SwitcherEngine::take() {
  // Copies: the calls below notify observers, who may change what they came from.
  if (const auto transition = previewScene->transition) {
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
  if (const auto custom = selectedCustomTransition.get()) {
    takeCustom(*custom);
    return;
  }
  take(selectedTransition.get(), transitionDuration.get());
}

void SwitcherEngine::take(TransitionKind kind, double duration) {
  if (isTransitioning.get()) return;
  brbActive = false;
  MixerScene from = programScene.get();
  MixerScene to = previewScene.get();

  if (kind == TransitionKind::cut) {
    programScene = to;
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
  if (isTransitioning.get()) return;
  brbActive = false;
  runCustom(custom, previewScene.get(), true);
}

void SwitcherEngine::playOverProgram(const CustomTransition& custom) {
  if (isTransitioning.get()) return;
  runCustom(custom, programScene.get(), false);
}

void SwitcherEngine::runCustom(const CustomTransition& custom, MixerScene to, bool changesScenes) {
  startCustomMedia(custom);
  auto transition = std::make_shared<ActiveTransition>();
  transition->kind = TransitionKind::crossfade;
  transition->startTime = queue_.now();
  transition->duration = custom.duration;
  transition->from = programScene.get();
  transition->to = std::move(to);
  transition->custom = custom;
  if (makePoseUpdate) transition->poseUpdate = makePoseUpdate(custom);
  std::optional<TakeScenes> scenes;
  if (changesScenes) scenes = TakeScenes{transition->to, transition->from};
  startTransition(std::move(transition), std::move(scenes));
  currentActiveCustom = custom;
}

void SwitcherEngine::startCustomMedia(const CustomTransition& custom) {
  if (prepareTransitionSources) prepareTransitionSources(custom);
  if (playTransitionSound) {
    for (const auto& sound : custom.sounds) playTransitionSound(sound);
  }
}

void SwitcherEngine::startTransition(std::shared_ptr<ActiveTransition> transition, std::optional<TakeScenes> scenes) {
  const double duration = transition->duration;
  store.setActive(std::move(transition));
  isTransitioning = true;
  const std::uint64_t generation = ++transitionGeneration_;
  std::weak_ptr<SwitcherEngine*> weak = self_;
  completionTimer_ = queue_.after(duration, [weak, generation, scenes = std::move(scenes)] {
    if (auto self = weak.lock()) (*self)->completeTransition(generation, scenes);
  });
}

void SwitcherEngine::completeTransition(std::uint64_t generation, const std::optional<TakeScenes>& scenes) {
  if (generation != transitionGeneration_) return;
  if (scenes) {
    programScene = scenes->to;
    swapStep(scenes->from);
  }
  store.clearActive();
  publishSnapshot();
  applyAudioFollow();
  // Cleared before the flag drops: its observers may start the next take.
  currentActiveCustom.reset();
  isTransitioning = false;
}

void SwitcherEngine::cancelTransition() {
  ++transitionGeneration_;
  store.clearActive();
  currentActiveCustom.reset();
  if (isTransitioning.get()) isTransitioning = false;
  publishSnapshot();
}

// After a take in studio mode, Preview holds what was on air, unless nothing was.
void SwitcherEngine::swapStep(const MixerScene& oldProgram) {
  if (!studioMode.get() || oldProgram.layers.empty()) return;
  leaveLoadedLayout();
  loadedLayoutID = std::nullopt;
  previewScene = oldProgram;
}

MixerScene SwitcherEngine::preparedForMatchMove(MixerScene scene) const {
  const double aspect = canvasAspect();
  for (auto& layer : scene.layers) {
    if (layer.fill) continue;
    const Size source = sourceSize(layer.sourceID, aspect);
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

// Layouts, holding card, fire

void SwitcherEngine::leaveLoadedLayout() {
  if (loadedLayoutID.get() && onLeavingLoadedLayout) onLeavingLoadedLayout(*loadedLayoutID.get(), previewScene.get());
}

void SwitcherEngine::replacePreview(MixerScene scene) {
  leaveLoadedLayout();
  loadedLayoutID = std::nullopt;
  previewScene = std::move(scene);
  publishSnapshot();
}

void SwitcherEngine::stageLayout(const MixerScene& scene) {
  suppressMirror = true;
  replacePreview(scene);
  loadedLayoutID = scene.id;
  suppressMirror = false;
}

void SwitcherEngine::loadLayout(const MixerScene& scene) {
  if (studioMode.get()) {
    replacePreview(scene);
    loadedLayoutID = scene.id;
    return;
  }
  stageLayout(scene);
  take();
}

void SwitcherEngine::toggleBRB(const std::string& sourceID, const std::string& sceneName) {
  if (brbActive.get()) {
    if (preBRBProgram) {
      replacePreview(*preBRBProgram);
      take();
    }
    if (setProgramMuted) setProgramMuted(false);
    preBRBProgram.reset();
    brbActive = false;
    return;
  }
  preBRBProgram = programScene.get();
  MixerScene card = MixerScene::named(sceneName);
  card.layers.push_back(LayerState::make(sourceID));
  replacePreview(std::move(card));
  take();
  if (setProgramMuted) setProgramMuted(true);
  brbActive = true;
}

void SwitcherEngine::setFireLayers(std::vector<LayerState> layers) { store.setFire(std::move(layers)); }

void SwitcherEngine::publishSnapshot() {
  if (!studioMode.get() && !suppressMirror && !isTransitioning.get() && programScene.get() != previewScene.get()) {
    programScene = previewScene.get();
  }
  auto program = std::make_shared<const MixerScene>(programScene.get());
  auto display = std::make_shared<MixerScene>(previewScene.get());
  // While cropping, the selected layer shows its whole frame so the operator
  // sees what is being cut away.
  if (cropEditing.get() && selectedLayerID.get()) {
    if (LayerState* layer = display->layer(*selectedLayerID.get())) {
      layer->cropRect = Rect{{0, 0}, {1, 1}};
      layer->fill = false;
    }
  }
  store.publish(std::move(program), std::move(display));
}

void SwitcherEngine::setStudioMode(bool on) {
  studioMode = on;
  if (!on) {
    // Direct mode shows Program in the one window; nothing on air changes.
    leaveLoadedLayout();
    loadedLayoutID = std::nullopt;
    previewScene = programScene.get();
  }
  store.setFireInPreview(!on && role == Role::main);
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
  if (role != Role::studio) addScene(programScene.get());
  addScene(previewScene.get());
  if (currentActiveCustom) addTracks(*currentActiveCustom);
  for (const auto& [id, run] : firedRunsByID_) addTracks(run.custom);
  return ids;
}

void SwitcherEngine::applyAudioFollow() {
  if (!audioFollow) return;
  std::set<std::string> sourceIDs;
  for (const auto& layer : programScene->layers) sourceIDs.insert(layer.sourceID);
  audioFollow(sourceIDs);
}

// Layer edits

Uuid SwitcherEngine::addLayer(const std::string& sourceID, bool toPreview) {
  LayerState layer = LayerState::make(sourceID);
  layer.size = {0.5, 0.5};
  Published<MixerScene>& scene = toPreview ? previewScene : programScene;
  layer.zOrder = zOrderAboveAll(scene.get());
  const Uuid id = layer.id;
  scene.modify([&](MixerScene& s) { s.layers.push_back(std::move(layer)); });
  selectLayer(id);
  return id;
}

void SwitcherEngine::removeLayer(Uuid id, bool fromPreview) {
  Published<MixerScene>& scene = fromPreview ? previewScene : programScene;
  scene.modify([&](MixerScene& s) {
    std::erase_if(s.layers, [&](const LayerState& layer) { return layer.id == id; });
    pruneEmptyGroups(s);
  });
  publishSnapshot();
}

void SwitcherEngine::updateLayer(const LayerState& layer) {
  if (editPreviewLayer(layer.id, [&](LayerState& l) { l = layer; })) publishSnapshot();
}

const LayerState* SwitcherEngine::selectedLayer() const {
  if (!selectedLayerID.get()) return nullptr;
  return previewScene->layer(*selectedLayerID.get());
}

void SwitcherEngine::selectLayer(std::optional<Uuid> id) {
  selectedLayerID = id;
  if (selectedGroupID.get()) {
    const LayerState* layer = selectedLayer();
    if (!layer || layer->groupID != selectedGroupID.get()) selectedGroupID = std::nullopt;
  }
  publishSnapshot();
}

void SwitcherEngine::copyLayer(Uuid id) {
  const LayerState* layer = previewScene->layer(id);
  copiedLayer = layer ? std::optional<LayerState>(*layer) : std::nullopt;
}

void SwitcherEngine::duplicateLayer(const LayerState& layer) {
  LayerState copy = layer;
  copy.id = Uuid::make();
  copy.center = {std::min(layer.center.x + 0.04, 0.92), std::min(layer.center.y + 0.04, 0.92)};
  copy.zOrder = zOrderAboveAll(previewScene.get());
  const Uuid id = copy.id;
  previewScene.modify([&](MixerScene& s) { s.layers.push_back(std::move(copy)); });
  selectLayer(id);
}

void SwitcherEngine::pasteLayer(const LayerState& layer) {
  LayerState copy = layer;
  copy.id = Uuid::make();
  copy.groupID = std::nullopt;
  copy.zOrder = zOrderAboveAll(previewScene.get());
  const Uuid id = copy.id;
  previewScene.modify([&](MixerScene& s) { s.layers.push_back(std::move(copy)); });
  selectLayer(id);
}

void SwitcherEngine::applyLayerOrder(const std::vector<Uuid>& topFirst) {
  previewScene.modify([&](MixerScene& s) { applyOrder(s, topFirst); });
  publishSnapshot();
}

// Crop and mask editing

void SwitcherEngine::setCropEditing(bool on) {
  const bool was = cropEditing.get();
  cropEditing = on;
  if (on) maskEditing = false;
  if (!on && was && !suppressCropBake) bakeCrop();
  publishSnapshot();
}

// Moves the crop into the layer's geometry: the cropped part stays where the
// operator saw it on the whole frame, and the box becomes exactly that part.
void SwitcherEngine::bakeCrop() {
  const LayerState* selected = selectedLayer();
  if (!selected) return;
  const Rect crop = selected->cropRect;
  if (crop.width() >= 0.999 && crop.height() >= 0.999) return;
  const double aspect = canvasAspect();
  const Size source = sourceSize(selected->sourceID, aspect);
  const Size whole = fitSize(static_cast<float>(selected->size.width), static_cast<float>(selected->size.height),
                             source.width, source.height, static_cast<float>(aspect));
  const Uuid id = selected->id;
  editPreviewLayer(id, [&](LayerState& layer) {
    const Point c = layer.center;
    layer.center.x = (c.x - whole.width / 2) + whole.width * (crop.minX() + crop.width() / 2);
    layer.center.y = (c.y - whole.height / 2) + whole.height * (crop.minY() + crop.height() / 2);
    layer.size = {whole.width * crop.width(), whole.height * crop.height()};
    layer.fill = true;
  });
}

void SwitcherEngine::setMaskEditing(bool on) {
  maskEditing = on;
  if (on && cropEditing.get()) {
    setCropEditing(false);
    return;
  }
  publishSnapshot();
}

void SwitcherEngine::closeMaskRegion() {
  const std::vector<Point> draft = maskDraft.get();
  const LayerState* selected = selectedLayer();
  if (draft.size() >= 3 && selected) {
    const Uuid id = selected->id;
    editPreviewLayer(id, [&](LayerState& layer) {
      layer.maskPolygons.edit().push_back(draft);
      if (layer.maskMode == MaskMode::none) layer.maskMode = MaskMode::exclude;
    });
  }
  maskDraft.set({});
  publishSnapshot();
}

void SwitcherEngine::undoMaskPoint() {
  if (maskDraft->empty()) return;
  maskDraft.modify([](std::vector<Point>& draft) { draft.pop_back(); });
}

void SwitcherEngine::clearMask() {
  maskDraft.set({});
  if (const LayerState* selected = selectedLayer()) {
    editPreviewLayer(selected->id, [](LayerState& layer) { layer.maskPolygons.reset(); });
  }
  publishSnapshot();
}

void SwitcherEngine::applyFrameShape(double aspect, float radius) {
  suppressCropBake = true;
  setCropEditing(false);
  suppressCropBake = false;

  const LayerState* selected = selectedLayer();
  if (!selected || aspect <= 0) return;
  const double canvas = canvasAspect();
  const Size source = sourceSize(selected->sourceID, canvas);
  const double a = source.width > 0 && source.height > 0 ? source.width / source.height : canvas;
  const Uuid id = selected->id;
  editPreviewLayer(id, [&](LayerState& layer) {
    if (a <= aspect) {
      const double h = a / aspect;
      layer.cropRect = Rect{{0, (1 - h) / 2}, {1, h}};
    } else {
      const double w = aspect / a;
      layer.cropRect = Rect{{(1 - w) / 2, 0}, {w, 1}};
    }
    layer.fill = true;
    // The box takes the shape's aspect on this canvas, no taller than 0.95.
    layer.size.height = canvas * layer.size.width / aspect;
    if (layer.size.height > 0.95) {
      layer.size.height = 0.95;
      layer.size.width = aspect * 0.95 / canvas;
    }
    layer.corners = CornerRadii::uniform(radius);
  });
  publishSnapshot();
}

// Video filters

std::optional<Uuid> SwitcherEngine::addVideoFilter(VideoFilterKind kind, Uuid layerID) {
  VideoFilterConfig filter;
  filter.kind = kind;
  filter.enabled = true;
  filter.params = defaultVideoFilterParams(kind);
  const Uuid id = filter.id;
  if (!editPreviewLayer(layerID, [&](LayerState& layer) { layer.videoFilters.edit().push_back(std::move(filter)); })) {
    return std::nullopt;
  }
  publishSnapshot();
  return id;
}

void SwitcherEngine::setVideoFilters(std::vector<VideoFilterConfig> filters, Uuid layerID) {
  if (editPreviewLayer(layerID, [&](LayerState& layer) { layer.videoFilters = std::move(filters); })) {
    publishSnapshot();
  }
}

void SwitcherEngine::setVideoFilterEnabled(Uuid filterID, bool enabled, Uuid layerID) {
  if (editPreviewLayer(layerID, [&](LayerState& layer) {
        for (auto& filter : layer.videoFilters.edit()) {
          if (filter.id == filterID) filter.enabled = enabled;
        }
      })) {
    publishSnapshot();
  }
}

void SwitcherEngine::setVideoFilterParam(Uuid filterID, const std::string& key, double value,
                                         Uuid layerID) {
  if (editPreviewLayer(layerID, [&](LayerState& layer) {
        for (auto& filter : layer.videoFilters.edit()) {
          if (filter.id == filterID) filter.params[key] = value;
        }
      })) {
    publishSnapshot();
  }
}

void SwitcherEngine::removeVideoFilter(Uuid filterID, Uuid layerID) {
  if (editPreviewLayer(layerID, [&](LayerState& layer) {
        std::erase_if(layer.videoFilters.edit(), [&](const VideoFilterConfig& f) { return f.id == filterID; });
      })) {
    publishSnapshot();
  }
}

void SwitcherEngine::moveVideoFilter(std::size_t from, std::size_t to, Uuid layerID) {
  const LayerState* current = previewScene->layer(layerID);
  if (!current || from >= current->videoFilters->size()) return;
  const std::size_t target = std::min(to, current->videoFilters->size() - 1);
  if (from == target) return;
  editPreviewLayer(layerID, [&](LayerState& layer) {
    auto& list = layer.videoFilters.edit();
    auto first = list.begin();
    if (from < target) {
      std::rotate(first + static_cast<std::ptrdiff_t>(from), first + static_cast<std::ptrdiff_t>(from) + 1,
                  first + static_cast<std::ptrdiff_t>(target) + 1);
    } else {
      std::rotate(first + static_cast<std::ptrdiff_t>(target), first + static_cast<std::ptrdiff_t>(from),
                  first + static_cast<std::ptrdiff_t>(from) + 1);
    }
  });
  publishSnapshot();
}

// Groups

std::optional<Uuid> SwitcherEngine::groupLayers(const std::vector<Uuid>& ids) {
  if (ids.size() < 2) return std::nullopt;
  LayerGroup group;
  group.name = "Group " + std::to_string(previewScene->groups.size() + 1);
  previewScene.modify([&](MixerScene& s) {
    s.groups.push_back(group);
    for (auto& layer : s.layers) {
      if (std::find(ids.begin(), ids.end(), layer.id) == ids.end()) continue;
      layer.groupID = group.id;
      layer.hidden = false;
    }
    pruneEmptyGroups(s);
    compactStack(s);
  });
  publishSnapshot();
  return group.id;
}

void SwitcherEngine::renameGroup(Uuid id, const std::string& name) {
  const std::string newName = trimmed(name);
  if (newName.empty()) return;
  const auto& groups = previewScene->groups;
  if (std::none_of(groups.begin(), groups.end(), [&](const LayerGroup& g) { return g.id == id; })) return;
  previewScene.modify([&](MixerScene& s) {
    for (auto& group : s.groups) {
      if (group.id == id) group.name = newName;
    }
  });
  publishSnapshot();
}

void SwitcherEngine::selectGroup(std::optional<Uuid> id) {
  selectedGroupID = id;
  if (id) {
    const LayerState* layer = selectedLayer();
    if (selectedLayerID.get() && (!layer || layer->groupID != id)) selectedLayerID = std::nullopt;
  }
  publishSnapshot();
}

void SwitcherEngine::setGroupHidden(Uuid id, bool hidden) {
  previewScene.modify([&](MixerScene& s) {
    for (auto& layer : s.layers) {
      if (layer.groupID == id) layer.hidden = hidden;
    }
  });
  publishSnapshot();
}

void SwitcherEngine::setGroupLocked(Uuid id, bool locked) {
  previewScene.modify([&](MixerScene& s) {
    for (auto& layer : s.layers) {
      if (layer.groupID == id) layer.locked = locked;
    }
  });
  publishSnapshot();
}

bool SwitcherEngine::isGroupLocked(Uuid id) const { return everyMemberHas(previewScene.get(), id, &LayerState::locked); }

bool SwitcherEngine::isGroupHidden(Uuid id) const { return everyMemberHas(previewScene.get(), id, &LayerState::hidden); }

void SwitcherEngine::ungroup(Uuid id) {
  previewScene.modify([&](MixerScene& s) {
    for (auto& layer : s.layers) {
      if (layer.groupID != id) continue;
      layer.groupID = std::nullopt;
      layer.hidden = false;
    }
    std::erase_if(s.groups, [&](const LayerGroup& g) { return g.id == id; });
  });
  publishSnapshot();
}

void SwitcherEngine::moveIntoGroup(Uuid layerID, Uuid groupID) {
  const auto& groups = previewScene->groups;
  if (std::none_of(groups.begin(), groups.end(), [&](const LayerGroup& g) { return g.id == groupID; })) return;
  if (!previewScene->layer(layerID)) return;
  previewScene.modify([&](MixerScene& s) {
    s.layer(layerID)->groupID = groupID;
    pruneEmptyGroups(s);
    compactStack(s);
  });
  publishSnapshot();
}

void SwitcherEngine::removeFromGroup(Uuid layerID) {
  if (!previewScene->layer(layerID)) return;
  previewScene.modify([&](MixerScene& s) {
    s.layer(layerID)->groupID = std::nullopt;
    pruneEmptyGroups(s);
    compactStack(s);
  });
  publishSnapshot();
}

void SwitcherEngine::moveGroup(Uuid id, const std::map<Uuid, Point>& startCenters, double dx, double dy) {
  previewScene.modify([&](MixerScene& s) {
    for (auto& layer : s.layers) {
      if (layer.groupID != id) continue;
      auto start = startCenters.find(layer.id);
      if (start == startCenters.end()) continue;
      layer.center = {start->second.x + dx, start->second.y + dy};
    }
  });
  publishSnapshot();
}

void SwitcherEngine::resizeGroup(Uuid id, const std::map<Uuid, LayerState>& startLayers, Point anchor,
                                 Size scale) {
  previewScene.modify([&](MixerScene& s) {
    for (auto& layer : s.layers) {
      if (layer.groupID != id) continue;
      auto start = startLayers.find(layer.id);
      if (start == startLayers.end()) continue;
      const LayerState& from = start->second;
      layer.center = {anchor.x + scale.width * (from.center.x - anchor.x),
                      anchor.y + scale.height * (from.center.y - anchor.y)};
      layer.size = {std::max(scale.width * from.size.width, 0.02), std::max(scale.height * from.size.height, 0.02)};
      layer.fill = true;
    }
  });
  publishSnapshot();
}

}  // namespace tavorin

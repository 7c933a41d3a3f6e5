#include "app/FireGraphics.h"


namespace tavorin {

FireGraphics::FireGraphics(Wiring wiring, ShowFolder folder) : store(std::move(folder)), wiring_(std::move(wiring)) {}

FireGraphics::~FireGraphics() {
  fireDismissals_.clear();
  for (auto& [id, source] : fireSources_) {
    wiring_.frameSlots.remove(source->id());
    source->stop();
  }
}

void FireGraphics::fireGraphic(const Uuid& id) {
  if (activeFireIDs->contains(id)) {
    dismiss(id);
  } else {
    fire(id);
  }
}

LayerState FireGraphics::layerFor(const FireGraphic& graphic, const std::string& sourceID) {
  LayerState layer = LayerState::make(sourceID);
  if (graphic.state) {
    layer = *graphic.state;
    layer.id = Uuid::make();
    layer.sourceID = sourceID;
    layer.animation.enterAt.reset();
    layer.animation.exitAt.reset();
    // Over Program the cue stands alone: no group, and a layer hidden on the canvas still shows.
    layer.groupID.reset();
    layer.hidden = false;
  }
  layer.center = graphic.center;
  layer.size = graphic.size;
  return layer;
}

std::shared_ptr<WebOverlaySource> FireGraphics::makePrivateSource(const FireGraphic& graphic, const OverlayItem& item) {
  WebEngine* engine = wiring_.webEngine ? wiring_.webEngine() : nullptr;
  if (!engine) return nullptr;
  auto source = std::make_shared<WebOverlaySource>(privateSourceID(graphic.id), graphic.name,
                                                   wiring_.overlays.fileURL(item), graphic.config, *engine);
  // Laid out for the canvas it is fired on; later canvas changes leave it so.
  const Size canvas = wiring_.canvasPixels();
  source->setPageSize(graphic.size.width * canvas.width, graphic.size.height * canvas.height);
  source->setLiveFPS(WebOverlaySource::kFiredFPS);
  source->setLive(true);
  // The page's own first run began before its values arrived: run it again with them.
  source->replayAfterFirstLoad();
  return source;
}

void FireGraphics::fire(const Uuid& id) {
  const auto graphic = store.find(id);
  if (!graphic) return;
  // What is left of an earlier run goes at once, exit move or not: the cue starts afresh.
  removeFire(id);

  std::string sourceID;
  if (graphic->overlayID) {
    const auto item = wiring_.overlays.find(*graphic->overlayID);
    if (!item) {
      wiring_.log("Cue's overlay is missing — edit it in Create.");
      return;
    }
    auto source = makePrivateSource(*graphic, *item);
    if (!source) {
      wiring_.log("Cue “" + graphic->name + "” can't be fired: the web engine is not running.");
      return;
    }
    sourceID = source->id();
    wiring_.frameSlots.set(sourceID, source->frameSlot());
    source->start({});
    fireSources_[id] = std::move(source);
  } else {
    auto source = graphic->sourceID ? wiring_.lifecycle.find(*graphic->sourceID) : nullptr;
    if (!source) {
      wiring_.log("Cue's media is missing from the library — edit or delete it.");
      return;
    }
    sourceID = source->id();
    wiring_.lifecycle.lastLiveAt[sourceID] = wiring_.lifecycle.wallClock();
    wiring_.lifecycle.wakeSource(source);
    // A clip plays from its in point, an overlay from its beginning.
    source->replayFromStart();
  }

  if (graphic->soundID && wiring_.sounds.store.find(*graphic->soundID)) wiring_.sounds.play(*graphic->soundID);

  LayerState layer = layerFor(*graphic, sourceID);
  layer.zOrder = kFireZOrder;
  if (graphic->enterMove != LayerAnimation::Move::none) {
    layer.animation.enter = graphic->enterMove;
    layer.animation.enterDuration = graphic->enterDuration;
    layer.animation.enterAt = wiring_.queue.now();
    layer.animation.exitAt.reset();
  }
  fireLayers_[id] = std::move(layer);
  activeFireIDs.modify([&](std::set<Uuid>& ids) { ids.insert(id); });
  publishLayers();

  if (graphic->durationSeconds > 0) {
    std::weak_ptr<FireGraphics*> weakSelf = self_;
    fireDismissals_[id] = wiring_.queue.after(graphic->durationSeconds, [weakSelf, id] {
      if (auto self = weakSelf.lock()) (*self)->dismiss(id);
    });
  }
}

void FireGraphics::dismiss(const Uuid& id) {
  fireDismissals_.erase(id);
  auto layer = fireLayers_.find(id);
  const auto graphic = store.find(id);
  if (layer != fireLayers_.end() && graphic && graphic->exitMove != LayerAnimation::Move::none &&
      !layer->second.animation.exitAt) {
    layer->second.animation.exit = graphic->exitMove;
    layer->second.animation.exitDuration = graphic->exitDuration;
    layer->second.animation.exitAt = wiring_.queue.now();
    publishLayers();
    activeFireIDs.modify([&](std::set<Uuid>& ids) { ids.erase(id); });
    std::weak_ptr<FireGraphics*> weakSelf = self_;
    fireDismissals_[id] = wiring_.queue.after(graphic->exitDuration + kExitSlack, [weakSelf, id] {
      if (auto self = weakSelf.lock()) (*self)->removeFire(id);
    });
    return;
  }
  removeFire(id);
}

void FireGraphics::removeFire(const Uuid& id) {
  fireDismissals_.erase(id);
  if (auto source = fireSources_.find(id); source != fireSources_.end()) {
    wiring_.frameSlots.remove(source->second->id());
    source->second->stop();
    fireSources_.erase(source);
  }
  const bool hadLayer = fireLayers_.erase(id) > 0;
  if (activeFireIDs->contains(id)) activeFireIDs.modify([&](std::set<Uuid>& ids) { ids.erase(id); });
  if (hadLayer) publishLayers();
}

void FireGraphics::remove(const Uuid& id) {
  removeFire(id);
  const auto& list = store.graphics.get();
  for (std::size_t at = 0; at < list.size(); ++at) {
    if (list[at].id == id) {
      store.remove({at});
      break;
    }
  }
  if (editingFireGraphicID == id) editingFireGraphicID.reset();
}

std::set<std::string> FireGraphics::sourceIDsOnAir() const {
  std::set<std::string> ids;
  for (const auto& [id, layer] : fireLayers_) ids.insert(*layer.sourceID);
  return ids;
}

WebOverlaySource* FireGraphics::privateSource(const Uuid& id) const {
  auto found = fireSources_.find(id);
  return found == fireSources_.end() ? nullptr : found->second.get();
}

void FireGraphics::publishLayers() {
  std::vector<LayerState> layers;
  layers.reserve(fireLayers_.size());
  std::set<Uuid> drawn;
  for (const auto& [id, layer] : fireLayers_) {
    layers.push_back(layer);
    drawn.insert(id);
  }
  if (drawn != drawnFireIDs.get()) drawnFireIDs = std::move(drawn);
  wiring_.switcher.setFireLayers(std::move(layers));
  // The sources these layers show are in use now, or no longer.
  wiring_.lifecycle.scheduleReconcile();
}

}  // namespace tavorin

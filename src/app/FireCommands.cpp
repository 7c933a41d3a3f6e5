// Making and editing cues: a cue staged on the canvas and saved back with the
// layer's ✨, new cues from a layer, a library overlay or a source, and the
// cue's layer added to a scene.
#include "app/AppModel.h"
#include "sources/WebOverlaySource.h"

namespace tavorin {

namespace {

constexpr const char* kOverlayPrefix = "overlay:";

// The library item a show's overlay source stands for; nothing for other sources.
std::optional<Uuid> overlayItemOf(const std::string& sourceID) {
  if (!sourceID.starts_with(kOverlayPrefix)) return std::nullopt;
  return Uuid::parse(sourceID.substr(std::string_view(kOverlayPrefix).size()));
}

}  // namespace

std::optional<std::string> AppModel::cueSourceForCanvas(const FireGraphic& graphic, const char* missingMedia) {
  if (graphic.overlayID) {
    const auto item = overlayStore.find(*graphic.overlayID);
    if (!item) {
      appendLog("Cue's overlay is missing — it can't be edited.");
      return std::nullopt;
    }
    auto id = addOverlayToShow(*item);
    if (!id) return std::nullopt;
    if (auto* overlay = dynamic_cast<WebOverlaySource*>(sourceLifecycle.find(*id).get())) {
      for (const auto& [key, value] : graphic.config) overlay->setConfigValue(key, value);
      overlay->pushConfig();
      sourcesStore.setOverlayConfig(*id, overlay->config());
    }
    return id;
  }
  if (!graphic.sourceID || !sourceLifecycle.find(*graphic.sourceID)) {
    appendLog(missingMedia);
    return std::nullopt;
  }
  return graphic.sourceID;
}

std::optional<Uuid> AppModel::placeCueLayer(const FireGraphic& graphic, const char* missingMedia) {
  const auto sourceID = cueSourceForCanvas(graphic, missingMedia);
  if (!sourceID) return std::nullopt;
  const bool vertical = editCanvas.get() == EditCanvas::vertical;
  PreviewEditor& target = vertical ? verticalEditor : editor;
  const SwitcherEngine& scenes = vertical ? verticalSwitcher : switcher;
  const Uuid layerID = target.addLayer(*sourceID);
  for (const auto& added : scenes.previewScene->layers) {
    if (added.id != layerID) continue;
    LayerState layer = FireGraphics::layerFor(graphic, *sourceID);
    layer.id = layerID;
    // A captured design keeps its place in the stack; a fresh one stays on top.
    if (!graphic.state) layer.zOrder = added.zOrder;
    target.updateLayer(layer);
  }
  return layerID;
}

void AppModel::stageCue(const Uuid& id) {
  const auto graphic = fireGraphics.store.find(id);
  if (!graphic) return;
  if (!placeCueLayer(*graphic, "Cue's media is missing from the library — it can't be edited.")) return;
  fireGraphics.editingFireGraphicID = id;
  appendLog("“" + graphic->name + "” is on the canvas — adjust it, then hit ✨ in the layer toolbar to save it back.");
}

void AppModel::addCueLayer(const Uuid& id) {
  const auto graphic = fireGraphics.store.find(id);
  if (!graphic) return;
  if (!placeCueLayer(*graphic, "Cue's media is missing from the library.")) return;
  appendLog("Added cue “" + graphic->name + "” as a layer.");
}

void AppModel::saveLayerAsCue(const Uuid& layerID) {
  const SwitcherEngine& scenes = editCanvas.get() == EditCanvas::vertical ? verticalSwitcher : switcher;
  const LayerState* layer = nullptr;
  for (const auto& candidate : scenes.previewScene->layers) {
    if (candidate.id == layerID) layer = &candidate;
  }
  if (!layer) return;
  const std::string sourceID = *layer->sourceID;

  // An overlay of the library is kept as the library item with its values, so
  // the cue fires a private page of its own.
  auto describe = [&](FireGraphic& graphic) {
    graphic.state = *layer;
    graphic.center = layer->center;
    graphic.size = layer->size;
    const auto itemID = overlayItemOf(sourceID);
    auto* overlay = dynamic_cast<WebOverlaySource*>(sourceLifecycle.find(sourceID).get());
    if (itemID && overlay && overlayStore.find(*itemID)) {
      graphic.overlayID = itemID;
      graphic.sourceID.reset();
      graphic.config = overlay->config();
    } else {
      graphic.overlayID.reset();
      graphic.sourceID = sourceID;
      graphic.config.clear();
    }
  };

  if (const auto editing = fireGraphics.editingFireGraphicID) {
    fireGraphics.editingFireGraphicID.reset();
    if (auto graphic = fireGraphics.store.find(*editing)) {
      describe(*graphic);
      fireGraphics.store.upsert(*graphic);
      appendLog("Updated “" + graphic->name + "” from the canvas.");
      return;
    }
  }
  FireGraphic graphic;
  graphic.name = displayName(sourceID);
  describe(graphic);
  fireGraphics.store.upsert(graphic);
  appendLog("Saved “" + graphic.name +
            "” as a cue — set animation/duration/sound, then add it to the deck (palette → Graphics).");
  fireGraphics.pendingFireGraphicEdit = graphic;
}

namespace {

// A new cue of a library item or a source: kept, said, and opened in its editor.
Uuid keepNewCue(FireGraphics& cues, const FireGraphic& graphic, const std::function<void(std::string)>& log) {
  cues.store.upsert(graphic);
  log("“" + graphic.name + "” is now a deck cue — position it via Edit on canvas, set duration/sound, and fire away.");
  cues.pendingFireGraphicEdit = graphic;
  return graphic.id;
}

}  // namespace

std::optional<Uuid> AppModel::makeCueFromOverlay(const Uuid& overlayID) {
  const auto item = overlayStore.find(overlayID);
  if (!item) return std::nullopt;
  FireGraphic graphic;
  graphic.name = item->name;
  graphic.overlayID = item->id;
  return keepNewCue(fireGraphics, graphic, [this](std::string line) { appendLog(std::move(line)); });
}

std::optional<Uuid> AppModel::makeCueFromSource(const std::string& sourceID) {
  if (!sourceLifecycle.find(sourceID)) return std::nullopt;
  if (const auto itemID = overlayItemOf(sourceID)) return makeCueFromOverlay(*itemID);
  FireGraphic graphic;
  graphic.name = displayName(sourceID);
  graphic.sourceID = sourceID;
  return keepNewCue(fireGraphics, graphic, [this](std::string line) { appendLog(std::move(line)); });
}

}  // namespace tavorin

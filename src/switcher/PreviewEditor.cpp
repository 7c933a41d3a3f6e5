#include "switcher/PreviewEditor.h"

#include "model/CropBaking.h"
#include "model/FrameShape.h"
#include "model/LayerFilters.h"
#include "model/LayerGroups.h"
#include "model/LayerMasks.h"
#include "model/SceneStacking.h"

namespace tavorin {

PreviewEditor::PreviewEditor(SwitcherEngine& engine) : engine_(engine) {}

template <class Fn>
void PreviewEditor::edit(Fn&& fn) {
  engine_.editPreview([&](MixerScene& scene) {
    fn(scene);
    return true;
  });
}

template <class Fn>
bool PreviewEditor::editLayer(const Uuid& id, Fn&& fn) {
  return engine_.editPreview([&](MixerScene& scene) {
    LayerState* layer = scene.layer(id);
    return layer && fn(*layer);
  });
}

void PreviewEditor::markWholeFrameLayer() {
  engine_.setWholeFrameLayer(cropEditing_.get() ? selectedLayerID_.get() : std::nullopt);
}

void PreviewEditor::showSelection() {
  markWholeFrameLayer();
  engine_.publishSnapshot();
}

const LayerState* PreviewEditor::selectedLayer() const {
  if (!selectedLayerID_.get()) return nullptr;
  return engine_.previewScene->layer(*selectedLayerID_.get());
}

void PreviewEditor::selectLayer(std::optional<Uuid> id) {
  selectedLayerID_ = id;
  if (selectedGroupID_.get()) {
    const LayerState* layer = selectedLayer();
    if (!layer || layer->groupID != selectedGroupID_.get()) selectedGroupID_ = std::nullopt;
  }
  showSelection();
}

void PreviewEditor::selectGroup(std::optional<Uuid> id) {
  selectedGroupID_ = id;
  if (id && selectedLayerID_.get()) {
    const LayerState* layer = selectedLayer();
    if (!layer || layer->groupID != id) selectedLayerID_ = std::nullopt;
  }
  showSelection();
}

void PreviewEditor::deselectLayer() {
  if (!selectedLayerID_.get()) return;
  selectedLayerID_ = std::nullopt;
  showSelection();
}

void PreviewEditor::copyLayer(Uuid id) {
  const LayerState* layer = engine_.previewScene->layer(id);
  copiedLayer_ = layer ? std::optional<LayerState>(*layer) : std::nullopt;
}

Uuid PreviewEditor::addLayer(const std::string& sourceID) {
  Uuid id;
  edit([&](MixerScene& scene) { id = addNewLayer(scene, sourceID); });
  selectLayer(id);
  return id;
}

void PreviewEditor::removeLayer(Uuid id) {
  edit([&](MixerScene& scene) { tavorin::removeLayer(scene, id); });
}

void PreviewEditor::updateLayer(const LayerState& layer) {
  editLayer(layer.id, [&](LayerState& l) {
    l = layer;
    return true;
  });
}

void PreviewEditor::duplicateLayer(const LayerState& layer) {
  Uuid id;
  edit([&](MixerScene& scene) { id = addDuplicate(scene, layer); });
  selectLayer(id);
}

void PreviewEditor::pasteLayer(const LayerState& layer) {
  Uuid id;
  edit([&](MixerScene& scene) { id = addPasted(scene, layer); });
  selectLayer(id);
}

void PreviewEditor::applyLayerOrder(const std::vector<Uuid>& topFirst) {
  edit([&](MixerScene& scene) { tavorin::applyLayerOrder(scene, topFirst); });
}

void PreviewEditor::setCropEditing(bool on) { changeCropEditing(on, CropExit::bake); }

void PreviewEditor::changeCropEditing(bool on, CropExit exit) {
  const bool was = cropEditing_.get();
  cropEditing_ = on;
  if (on) maskEditing_ = false;
  // Before the bake publishes: the baked box must not show the whole frame.
  markWholeFrameLayer();
  if (!on && was && exit == CropExit::bake) {
    if (const LayerState* selected = selectedLayer()) {
      const Size source = engine_.sourceSize(selected->sourceID);
      const double aspect = engine_.canvasAspect();
      editLayer(selected->id, [&](LayerState& layer) { return bakeCrop(layer, source, aspect); });
    }
  }
  engine_.publishSnapshot();
}

void PreviewEditor::setMaskEditing(bool on) {
  maskEditing_ = on;
  if (on && cropEditing_.get()) {
    setCropEditing(false);
    return;
  }
  engine_.publishSnapshot();
}

void PreviewEditor::addMaskPoint(Point point) {
  maskDraft_.modify([&](std::vector<Point>& draft) { draft.push_back(point); });
}

void PreviewEditor::undoMaskPoint() {
  if (maskDraft_->empty()) return;
  maskDraft_.modify([](std::vector<Point>& draft) { draft.pop_back(); });
}

void PreviewEditor::closeMaskRegion() {
  const std::vector<Point> draft = maskDraft_.get();
  if (const LayerState* selected = selectedLayer()) {
    editLayer(selected->id, [&](LayerState& layer) { return addMaskRegion(layer, draft); });
  }
  maskDraft_.set({});
  engine_.publishSnapshot();
}

void PreviewEditor::clearMask() {
  maskDraft_.set({});
  if (const LayerState* selected = selectedLayer()) {
    editLayer(selected->id, [](LayerState& layer) {
      layer.maskPolygons.reset();
      return true;
    });
  }
  engine_.publishSnapshot();
}

void PreviewEditor::applyFrameShape(double aspect, float radius) {
  changeCropEditing(false, CropExit::keep);
  const LayerState* selected = selectedLayer();
  if (!selected) return;
  const Size source = engine_.sourceSize(selected->sourceID);
  const double canvas = engine_.canvasAspect();
  editLayer(selected->id,
            [&](LayerState& layer) { return tavorin::applyFrameShape(layer, aspect, radius, source, canvas); });
}

std::optional<Uuid> PreviewEditor::addVideoFilter(VideoFilterKind kind, Uuid layerID) {
  std::optional<Uuid> id;
  editLayer(layerID, [&](LayerState& layer) {
    id = tavorin::addVideoFilter(layer, kind);
    return true;
  });
  return id;
}

void PreviewEditor::setVideoFilters(std::vector<VideoFilterConfig> filters, Uuid layerID) {
  editLayer(layerID, [&](LayerState& layer) {
    layer.videoFilters = std::move(filters);
    return true;
  });
}

void PreviewEditor::setVideoFilterEnabled(Uuid filterID, bool enabled, Uuid layerID) {
  editLayer(layerID, [&](LayerState& layer) {
    tavorin::setVideoFilterEnabled(layer, filterID, enabled);
    return true;
  });
}

void PreviewEditor::setVideoFilterParam(Uuid filterID, const std::string& key, double value, Uuid layerID) {
  editLayer(layerID, [&](LayerState& layer) {
    tavorin::setVideoFilterParam(layer, filterID, key, value);
    return true;
  });
}

void PreviewEditor::removeVideoFilter(Uuid filterID, Uuid layerID) {
  editLayer(layerID, [&](LayerState& layer) {
    tavorin::removeVideoFilter(layer, filterID);
    return true;
  });
}

void PreviewEditor::moveVideoFilter(std::size_t from, std::size_t to, Uuid layerID) {
  editLayer(layerID, [&](LayerState& layer) { return tavorin::moveVideoFilter(layer, from, to); });
}

std::optional<Uuid> PreviewEditor::groupLayers(const std::vector<Uuid>& ids) {
  std::optional<Uuid> id;
  engine_.editPreview([&](MixerScene& scene) {
    id = tavorin::groupLayers(scene, ids);
    return id.has_value();
  });
  return id;
}

void PreviewEditor::renameGroup(Uuid id, const std::string& name) {
  engine_.editPreview([&](MixerScene& scene) { return tavorin::renameGroup(scene, id, name); });
}

void PreviewEditor::setGroupHidden(Uuid id, bool hidden) {
  edit([&](MixerScene& scene) { tavorin::setGroupHidden(scene, id, hidden); });
}

void PreviewEditor::setGroupLocked(Uuid id, bool locked) {
  edit([&](MixerScene& scene) { tavorin::setGroupLocked(scene, id, locked); });
}

void PreviewEditor::ungroup(Uuid id) {
  edit([&](MixerScene& scene) { tavorin::ungroup(scene, id); });
}

void PreviewEditor::moveIntoGroup(Uuid layerID, Uuid groupID) {
  engine_.editPreview([&](MixerScene& scene) { return tavorin::moveIntoGroup(scene, layerID, groupID); });
}

void PreviewEditor::removeFromGroup(Uuid layerID) {
  engine_.editPreview([&](MixerScene& scene) { return tavorin::removeFromGroup(scene, layerID); });
}

void PreviewEditor::moveGroup(Uuid id, const std::map<Uuid, Point>& startCenters, double dx, double dy) {
  edit([&](MixerScene& scene) { tavorin::moveGroup(scene, id, startCenters, dx, dy); });
}

void PreviewEditor::resizeGroup(Uuid id, const std::map<Uuid, LayerState>& startLayers, Point anchor,
                                Size scale) {
  edit([&](MixerScene& scene) { tavorin::resizeGroup(scene, id, startLayers, anchor, scale); });
}

}  // namespace tavorin

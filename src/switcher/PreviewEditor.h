#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/Published.h"
#include "base/PublishedView.h"
#include "base/Uuid.h"
#include "model/Geometry.h"
#include "model/LayerState.h"
#include "model/VideoFilterConfig.h"
#include "switcher/SwitcherEngine.h"

namespace tavorin {

// The operator's editing of one switcher's Preview: what is selected, the
// layer clipboard, crop and mask editing, and the layer edits themselves,
// which reach Preview through the engine's editPreview. Main thread only; the
// engine must outlive it.
class PreviewEditor {
  // Declared first: the views below are made from them.
  Published<std::optional<Uuid>> selectedLayerID_;
  Published<std::optional<Uuid>> selectedGroupID_;
  Published<bool> cropEditing_{false};
  Published<bool> maskEditing_{false};
  Published<std::vector<Point>> maskDraft_;

 public:
  explicit PreviewEditor(SwitcherEngine& engine);
  PreviewEditor(const PreviewEditor&) = delete;
  PreviewEditor& operator=(const PreviewEditor&) = delete;

  PublishedView<std::optional<Uuid>> selectedLayerID{selectedLayerID_};
  PublishedView<std::optional<Uuid>> selectedGroupID{selectedGroupID_};
  PublishedView<bool> cropEditing{cropEditing_};
  PublishedView<bool> maskEditing{maskEditing_};
  // The region being drawn, in the space of maskPolygons.
  PublishedView<std::vector<Point>> maskDraft{maskDraft_};
  const std::optional<LayerState>& copiedLayer() const { return copiedLayer_; }

  // The selected layer as Preview has it now; null when none is or it is gone.
  const LayerState* selectedLayer() const;

  // A layer outside the selected group ends the group's selection.
  void selectLayer(std::optional<Uuid> id);
  // A group that does not hold the selected layer ends the layer's selection.
  void selectGroup(std::optional<Uuid> id);
  // Drops the layer selection alone: the operator selected on another canvas.
  void deselectLayer();
  void copyLayer(Uuid id);

  // Each new layer goes on top and is selected.
  Uuid addLayer(const std::string& sourceID);
  void removeLayer(Uuid id);
  // Replaces the Preview layer with the same id; nothing when there is none.
  void updateLayer(const LayerState& layer);
  void duplicateLayer(const LayerState& layer);
  void pasteLayer(const LayerState& layer);
  // `topFirst` lists layer ids from the top of the stack down.
  void applyLayerOrder(const std::vector<Uuid>& topFirst);

  // Leaving crop editing bakes the selected layer's crop into its box.
  void setCropEditing(bool on);
  // Starting mask editing leaves crop editing.
  void setMaskEditing(bool on);
  void addMaskPoint(Point point);
  void undoMaskPoint();
  // The draft becomes a region of the selected layer's mask when it has three
  // points or more; the draft is cleared either way.
  void closeMaskRegion();
  // Clears the draft and the selected layer's mask.
  void clearMask();
  // Leaves crop editing without baking, then crops the selected layer to
  // `aspect` (width over height, in pixels) and rounds its corners by
  // `radius`: the square and circle presets.
  void applyFrameShape(double aspect, float radius);

  // Filter edits of the layer `layerID`; nothing when Preview has no such layer.
  std::optional<Uuid> addVideoFilter(VideoFilterKind kind, Uuid layerID);
  void setVideoFilters(std::vector<VideoFilterConfig> filters, Uuid layerID);
  void setVideoFilterEnabled(Uuid filterID, bool enabled, Uuid layerID);
  void setVideoFilterParam(Uuid filterID, const std::string& key, double value, Uuid layerID);
  void removeVideoFilter(Uuid filterID, Uuid layerID);
  // Moves the entry at index `from` so that it ends up at index `to`.
  void moveVideoFilter(std::size_t from, std::size_t to, Uuid layerID);

  std::optional<Uuid> groupLayers(const std::vector<Uuid>& ids);
  void renameGroup(Uuid id, const std::string& name);
  void setGroupHidden(Uuid id, bool hidden);
  void setGroupLocked(Uuid id, bool locked);
  void ungroup(Uuid id);
  void moveIntoGroup(Uuid layerID, Uuid groupID);
  void removeFromGroup(Uuid layerID);
  // Members listed in `startCenters` move by (dx, dy) from where a drag began.
  void moveGroup(Uuid id, const std::map<Uuid, Point>& startCenters, double dx, double dy);
  // Members listed in `startLayers` scale about `anchor` by `scale` per axis
  // from how a drag found them.
  void resizeGroup(Uuid id, const std::map<Uuid, LayerState>& startLayers, Point anchor, Size scale);

 private:
  enum class CropExit { bake, keep };

  void changeCropEditing(bool on, CropExit exit);
  // While cropping, the selected layer shows its whole frame on Preview.
  void markWholeFrameLayer();
  void showSelection();
  // Applies an edit that always changes Preview.
  template <class Fn>
  void edit(Fn&& fn);
  // Applies `fn` to the layer `id`; Preview changes only when there is one and `fn` says it changed it.
  template <class Fn>
  bool editLayer(const Uuid& id, Fn&& fn);

  SwitcherEngine& engine_;
  std::optional<LayerState> copiedLayer_;
};

}  // namespace tavorin

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/Uuid.h"
#include "model/LayerState.h"
#include "model/RenderLayer.h"
#include "model/SceneAudio.h"
#include "model/SceneTransition.h"

namespace tavorin {

// One scene (a layout when it lies in the layout store). A plain value: copies
// share nothing and compare field by field.
struct MixerScene {
  Uuid id = Uuid::make();
  std::string name = "Scene";
  std::vector<LayerState> layers;  // no required order; zOrder decides the stacking
  std::vector<LayerGroup> groups;
  SceneAudio audio;
  std::optional<SceneTransition> transition;
  std::optional<Uuid> companionLayoutID;
  std::optional<std::vector<LayerState>> verticalLayers;
  std::optional<std::vector<LayerGroup>> verticalGroups;

  static MixerScene named(std::string name) {
    MixerScene scene;
    scene.name = std::move(name);
    return scene;
  }

  // The drawing list for one frame at host time `time`, every opacity scaled by
  // `opacity`. Hidden layers are dropped; the rest are stably sorted by zOrder.
  std::vector<RenderLayer> renderLayers(double time, float opacity) const;
  // Appends the same list to `out`, so a plan of several scenes fills one list.
  void appendRenderLayers(std::vector<RenderLayer>& out, double time, float opacity) const;

  // The scene's view on the vertical canvas; nothing when it has no vertical design.
  std::optional<MixerScene> verticalScene() const;

  const LayerState* layer(const Uuid& layerID) const;
  LayerState* layer(const Uuid& layerID);

  friend bool operator==(const MixerScene&, const MixerScene&) = default;
};

}  // namespace tavorin

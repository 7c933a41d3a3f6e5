#pragma once

#include <optional>
#include <string>

#include "base/Uuid.h"
#include "model/LayerAnimation.h"
#include "model/LayerLook.h"

namespace tavorin {

struct RenderLayer;

// One layer of a scene: a source placed on the canvas with its look, its place
// in the stack and its group.
struct LayerState : LayerLook {
  Uuid id = Uuid::make();
  int zOrder = 0;  // higher draws later, on top
  bool locked = false;
  std::optional<Uuid> groupID;
  bool hidden = false;
  LayerAnimation animation;

  // A fresh layer showing `sourceID`, every other field at its default.
  static LayerState make(std::string sourceID) {
    LayerState layer;
    layer.sourceID = std::move(sourceID);
    return layer;
  }

  // The copy the compositor takes, without animation.
  RenderLayer toRenderLayer() const;

  friend bool operator==(const LayerState&, const LayerState&) = default;
};

// A named group of layers; membership lies in each layer's `groupID`.
struct LayerGroup {
  Uuid id = Uuid::make();
  std::string name;
  friend bool operator==(const LayerGroup&, const LayerGroup&) = default;
};

}  // namespace tavorin

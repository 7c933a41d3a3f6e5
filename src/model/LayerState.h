#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/Uuid.h"
#include "model/CornerPin.h"
#include "model/CornerRadii.h"
#include "model/Geometry.h"
#include "model/LayerAnimation.h"
#include "model/LayerModes.h"
#include "model/RGBAColor.h"
#include "model/VideoFilterConfig.h"

namespace tavorin {

struct RenderLayer;

// One layer of a scene: a source placed on the canvas with its look.
struct LayerState {
  Uuid id = Uuid::make();
  std::string sourceID;
  Point center{0.5, 0.5};
  Size size{1.0, 1.0};
  float rotation = 0;  // radians, about the box's centre, aspect-corrected
  float opacity = 1;
  int zOrder = 0;  // higher draws later, on top
  Rect cropRect{{0, 0}, {1, 1}};
  bool fill = false;  // true: cover the box exactly; false: keep the source's aspect inside it
  CornerRadii corners;
  RGBAColor borderColor{1, 1, 1, 1};
  float borderWidth = 0;
  float shadowOpacity = 0;
  float shadowRadius = 0.06f;
  Size shadowOffset{0.02, 0.03};
  bool flipHorizontal = false;
  bool flipVertical = false;
  KeyMode keyMode = KeyMode::none;
  RGBAColor keyColor{0, 1, 0, 1};
  float keyThreshold = 0.35f;
  float keySmoothness = 0.1f;
  int segmentationQuality = 1;
  float segmentationSmoothing = 0.5f;
  float backgroundBlur = 0;
  std::optional<CornerPin> cornerPin;
  MaskMode maskMode = MaskMode::none;
  std::vector<std::vector<Point>> maskPolygons;  // normalised to the unrotated drawn box
  bool locked = false;
  std::optional<Uuid> groupID;
  bool hidden = false;
  LayerAnimation animation;
  std::vector<VideoFilterConfig> videoFilters;

  // A fresh layer showing `sourceID`, every other field at its default.
  static LayerState make(std::string sourceID) {
    LayerState layer;
    layer.sourceID = std::move(sourceID);
    return layer;
  }

  // The field-by-field copy the compositor takes, without animation.
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

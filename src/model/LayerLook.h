#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/SharedValue.h"
#include "model/CornerPin.h"
#include "model/CornerRadii.h"
#include "model/Geometry.h"
#include "model/LayerModes.h"
#include "model/RGBAColor.h"
#include "model/VideoFilterConfig.h"

namespace tavorin {

// What a layer shows and how it looks on the canvas: the part a scene's layer
// and the compositor's drawn layer have in common, so one is made from the
// other by a single copy. The source, masks and filters rarely change and are
// shared, so building, comparing and keeping a plan every tick moves
// references, not strings and vectors.
struct LayerLook {
  SharedValue<std::string> sourceID;
  Point center{0.5, 0.5};
  Size size{1.0, 1.0};
  float rotation = 0;  // radians, about the box's centre, aspect-corrected
  float opacity = 1;
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
  SharedValue<std::vector<std::vector<Point>>> maskPolygons;  // normalised to the unrotated drawn box
  SharedValue<std::vector<VideoFilterConfig>> videoFilters;

  friend bool operator==(const LayerLook&, const LayerLook&) = default;
};

}  // namespace tavorin

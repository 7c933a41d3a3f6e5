#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/Uuid.h"
#include "model/CornerPin.h"
#include "model/CornerRadii.h"
#include "model/Geometry.h"
#include "model/LayerModes.h"
#include "model/RGBAColor.h"
#include "model/VideoFilterConfig.h"

namespace tavorin {

// A layer as the compositor draws it: stacking, grouping, visibility and motion
// are already resolved. Never stored.
struct RenderLayer {
  Uuid id;
  std::vector<VideoFilterConfig> videoFilters;
  std::string sourceID;
  Point center{0.5, 0.5};
  Size size{1.0, 1.0};
  float rotation = 0;
  float opacity = 1;
  Rect cropRect{{0, 0}, {1, 1}};
  bool fill = false;
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
  std::vector<std::vector<Point>> maskPolygons;

  friend bool operator==(const RenderLayer&, const RenderLayer&) = default;
};

// What one canvas draws for one frame: layers bottom first.
struct RenderPlan {
  std::vector<RenderLayer> layers;
  friend bool operator==(const RenderPlan&, const RenderPlan&) = default;
};

}  // namespace tavorin

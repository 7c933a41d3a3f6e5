#include "model/LayerState.h"

#include "model/RenderLayer.h"

namespace tavorin {

RenderLayer LayerState::toRenderLayer() const {
  RenderLayer r;
  r.id = id;
  r.videoFilters = videoFilters;
  r.sourceID = sourceID;
  r.center = center;
  r.size = size;
  r.rotation = rotation;
  r.opacity = opacity;
  r.cropRect = cropRect;
  r.fill = fill;
  r.corners = corners;
  r.borderColor = borderColor;
  r.borderWidth = borderWidth;
  r.shadowOpacity = shadowOpacity;
  r.shadowRadius = shadowRadius;
  r.shadowOffset = shadowOffset;
  r.flipHorizontal = flipHorizontal;
  r.flipVertical = flipVertical;
  r.keyMode = keyMode;
  r.keyColor = keyColor;
  r.keyThreshold = keyThreshold;
  r.keySmoothness = keySmoothness;
  r.segmentationQuality = segmentationQuality;
  r.segmentationSmoothing = segmentationSmoothing;
  r.backgroundBlur = backgroundBlur;
  r.cornerPin = cornerPin;
  r.maskMode = maskMode;
  r.maskPolygons = maskPolygons;
  return r;
}

}  // namespace tavorin

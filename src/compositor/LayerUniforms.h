#pragma once

#include "compositor/QuadUniforms.h"
#include "model/RenderLayer.h"

namespace tavorin {

// A layer's drawn box: its size in canvas fractions, matrix and aspect (the
// box's width in units of its height).
struct LayerBox {
  float width = 1;
  float height = 1;
  Matrix4 matrix = kIdentityMatrix;
  float quadAspect = 1;
  float canvasAspect = 1;
};

LayerBox layerBox(const RenderLayer& layer, int frameWidth, int frameHeight, float canvasAspect);

// The main quad of a layer. `keyMode` and `maskMode` are what the shader is
// to do, which may be less than the layer asks when a mask is missing.
QuadUniforms mainQuadUniforms(const RenderLayer& layer, const LayerBox& box, float keyMode, float maskMode);

// The same layer drawn through its corner pin.
QuadUniforms pinnedQuadUniforms(const RenderLayer& layer, float keyMode, float maskMode);

// The shadow quad of a layer; only meaningful when its shadow opacity is on.
DecorationUniforms shadowUniforms(const RenderLayer& layer, const LayerBox& box);

// The quad under a person-keyed layer that shows its blurred background,
// and the person drawn over it.
QuadUniforms blurredBackgroundUniforms(const RenderLayer& layer, const LayerBox& box, float maskMode);
QuadUniforms personOverBackgroundUniforms(const RenderLayer& layer, const LayerBox& box, float maskMode);

}  // namespace tavorin

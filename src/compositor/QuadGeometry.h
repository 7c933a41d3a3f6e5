#pragma once

#include "compositor/QuadUniforms.h"
#include "model/Geometry.h"

namespace tavorin {

// Effects and opacities at or below this count as off.
inline constexpr float kEffectEpsilon = 0.001f;
// Floor of every division by a size or an aspect.
inline constexpr float kSizeFloor = 0.0001f;

// Translation to `center` (canvas space) x rotation in aspect-corrected space
// x scale by the drawn size, mapping the unit quad (-1..1) to clip space.
Matrix4 layerMatrix(Point center, float rotation, float width, float height, float canvasAspect);

// Projective weights of a four-corner pin (corners in ring order top left,
// top right, bottom right, bottom left) so the picture maps with perspective.
// Degenerate pins give weights of 1.
Float4 pinWeights(Point topLeft, Point topRight, Point bottomRight, Point bottomLeft);

// Scale that letterboxes an image into a drawable while keeping its aspect.
Matrix4 aspectFitTransform(float imageWidth, float imageHeight, float drawableWidth, float drawableHeight);

// A canvas-space point (y downward) in clip space (y upward).
inline Point canvasToClip(Point p) { return {2 * p.x - 1, 1 - 2 * p.y}; }

Matrix4 multiply(const Matrix4& a, const Matrix4& b);

}  // namespace tavorin

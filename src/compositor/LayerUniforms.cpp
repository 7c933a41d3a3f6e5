#include "compositor/LayerUniforms.h"

#include <algorithm>
#include <cmath>

#include "compositor/QuadGeometry.h"
#include "model/LayerFit.h"

namespace tavorin {

namespace {

Float4 cropVector(const RenderLayer& layer) {
  const Rect& c = layer.cropRect;
  return {static_cast<float>(c.width()), static_cast<float>(c.height()), static_cast<float>(c.minX()),
          static_cast<float>(c.minY())};
}

float flipFlags(const RenderLayer& layer) {
  return (layer.flipHorizontal ? 1.0f : 0.0f) + (layer.flipVertical ? 2.0f : 0.0f);
}

Float4 radiiVector(const CornerRadii& r) { return {r.topRight, r.bottomRight, r.topLeft, r.bottomLeft}; }

Float4 colorVector(const RGBAColor& c) { return {c.r, c.g, c.b, c.a}; }

// Fields common to every unpinned quad of a layer.
QuadUniforms boxQuad(const RenderLayer& layer, const LayerBox& box, float maskMode) {
  QuadUniforms u;
  u.transform = box.matrix;
  u.crop = cropVector(layer);
  u.misc = {layer.opacity, layer.borderWidth, box.quadAspect, flipFlags(layer)};
  u.corners = radiiVector(layer.corners);
  u.borderColor = colorVector(layer.borderColor);
  u.maskParams = {maskMode, 0, 0, 0};
  return u;
}

}  // namespace

LayerBox layerBox(const RenderLayer& layer, int frameWidth, int frameHeight, float canvasAspect) {
  LayerBox box;
  box.canvasAspect = canvasAspect;
  if (layer.fill) {
    box.width = static_cast<float>(layer.size.width);
    box.height = static_cast<float>(layer.size.height);
  } else {
    const double cropW = std::max(layer.cropRect.width(), double(kSizeFloor));
    const double cropH = std::max(layer.cropRect.height(), double(kSizeFloor));
    const Size fitted = fitSize(static_cast<float>(layer.size.width), static_cast<float>(layer.size.height),
                                cropW * frameWidth, cropH * frameHeight, canvasAspect);
    box.width = static_cast<float>(fitted.width);
    box.height = static_cast<float>(fitted.height);
  }
  box.matrix = layerMatrix(layer.center, layer.rotation, box.width, box.height, canvasAspect);
  box.quadAspect = box.width / std::max(box.height, kSizeFloor) * canvasAspect;
  return box;
}

QuadUniforms mainQuadUniforms(const RenderLayer& layer, const LayerBox& box, float keyMode, float maskMode) {
  QuadUniforms u = boxQuad(layer, box, maskMode);
  u.keyParams = {keyMode, layer.keyThreshold, layer.keySmoothness, 0};
  u.keyColor = colorVector(layer.keyColor);
  return u;
}

QuadUniforms pinnedQuadUniforms(const RenderLayer& layer, float keyMode, float maskMode) {
  const CornerPin& pin = *layer.cornerPin;
  const Point tl = canvasToClip(pin.topLeft), tr = canvasToClip(pin.topRight);
  const Point br = canvasToClip(pin.bottomRight), bl = canvasToClip(pin.bottomLeft);
  QuadUniforms u;
  u.crop = cropVector(layer);
  u.misc = {layer.opacity, 0, 1, flipFlags(layer)};
  u.keyParams = {keyMode, layer.keyThreshold, layer.keySmoothness, 1};
  u.keyColor = colorVector(layer.keyColor);
  auto f = [](double v) { return static_cast<float>(v); };
  u.pinTop = {f(tl.x), f(tl.y), f(tr.x), f(tr.y)};
  u.pinBottom = {f(br.x), f(br.y), f(bl.x), f(bl.y)};
  u.pinQ = pinWeights(tl, tr, br, bl);
  u.maskParams = {maskMode, 0, 0, 0};
  return u;
}

DecorationUniforms shadowUniforms(const RenderLayer& layer, const LayerBox& box) {
  const float radius = std::max(layer.shadowRadius, kSizeFloor);
  const float ox = static_cast<float>(layer.shadowOffset.width);
  const float oy = static_cast<float>(layer.shadowOffset.height);
  const float pad = radius + std::max(std::abs(ox), std::abs(oy)) + 0.02f;
  const float halfAspect = 0.5f * box.quadAspect;
  DecorationUniforms u;
  u.transform = layerMatrix(layer.center, layer.rotation, box.width * (halfAspect + pad) / halfAspect,
                            box.height * (1 + 2 * pad), box.canvasAspect);
  u.color = {0, 0, 0, layer.opacity * layer.shadowOpacity};
  u.params = {box.quadAspect, radius, pad, 0};
  u.offset = {ox, -oy, 0, 0};
  u.corners = radiiVector(layer.corners);
  return u;
}

QuadUniforms blurredBackgroundUniforms(const RenderLayer& layer, const LayerBox& box, float maskMode) {
  return boxQuad(layer, box, maskMode);
}

QuadUniforms personOverBackgroundUniforms(const RenderLayer& layer, const LayerBox& box, float maskMode) {
  QuadUniforms u = boxQuad(layer, box, maskMode);
  u.misc[1] = 0;
  u.borderColor = {0, 0, 0, 0};
  u.keyParams = {2, 0, layer.keySmoothness, 0};
  return u;
}

}  // namespace tavorin

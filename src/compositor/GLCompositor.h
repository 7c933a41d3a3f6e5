#pragma once

#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "compositor/BackgroundBlur.h"
#include "compositor/GLTextures.h"
#include "compositor/PolygonMaskCache.h"
#include "compositor/QuadRenderer.h"
#include "compositor/RenderTarget.h"
#include "compositor/VideoFilterRenderer.h"
#include "platform/gpu/GLGpu.h"
#include "model/RenderLayer.h"
#include "platform/gl/GLContext.h"

namespace tavorin {

// The texture of a layer's source (filters applied), or nothing when the
// source is unknown or has no frame.
using FrameProvider = std::function<std::optional<LayerTexture>(const RenderLayer&)>;
// The newest person mask of a source, or nothing.
using MaskProvider = std::function<std::optional<LayerTexture>(const std::string& sourceID)>;

// Draws one plan into a target: layers bottom to top over opaque black, each
// with its shadow, blurred background when person-keyed, and main quad.
// Driven by one thread at a time with the context current.
class GLCompositor {
 public:
  // Throws GLFailure when a program does not build.
  GLCompositor(const GLContext& context, int canvasWidth, int canvasHeight);

  int canvasWidth() const { return canvasWidth_; }
  int canvasHeight() const { return canvasHeight_; }
  void setCanvasSize(int width, int height);

  // Records the drawing; waits for nothing.
  void render(const RenderPlan& plan, const RenderTarget& target, const FrameProvider& frameProvider,
              const MaskProvider& maskProvider);

  const PolygonMaskCache& masks() const { return masks_; }
  const VideoFilterRenderer& filters() const { return filters_; }
  const BackgroundBlur& blur() const { return blur_; }

 private:
  void drawLayer(const RenderLayer& layer, const LayerTexture& frame, const MaskProvider& maskProvider, float aspect);
  void drawPinnedLayer(const RenderLayer& layer, const LayerTexture& frame, const MaskProvider& maskProvider);
  // Mask mode for the shader and its texture (0 when unmasked).
  std::pair<float, GLuint> polygonMask(const RenderLayer& layer);
  // The layer's picture through its filter stack, or the source's own when none is on.
  LayerTexture filteredFrame(const RenderLayer& layer, const LayerTexture& frame, double time);

  int canvasWidth_;
  int canvasHeight_;
  QuadRenderer renderer_;
  GLGpu gpu_;
  VideoFilterRenderer filters_{gpu_};
  // The sources' textures as the filters take them, by texture name; kept while the names live.
  std::unordered_map<GLuint, std::unique_ptr<GpuTexture>> borrowed_;
  // Each layer's picture of the canvas being drawn; kept to keep its storage.
  std::vector<std::optional<LayerTexture>> frames_;
  BackgroundBlur blur_;
  PolygonMaskCache masks_;
  // This frame's blurred backgrounds by source; reused across frames to keep its storage.
  std::unordered_map<std::string, LayerTexture> blurred_;
};

}  // namespace tavorin

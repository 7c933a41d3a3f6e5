#include "compositor/PlanSnapshot.h"

#include "compositor/FrameReadback.h"
#include "compositor/RenderTarget.h"
#include "platform/media/PngWriter.h"

namespace tavorin {

FrameProvider makeFrameProvider(SourceTextureCache& cache, FrameLookup lookup) {
  return [&cache, lookup = std::move(lookup)](const RenderLayer& layer) -> std::optional<LayerTexture> {
    FrameRef frame = lookup(layer.sourceID);
    if (!frame) return std::nullopt;
    const LayerTexture texture = cache.textureFor(layer.sourceID, *frame);
    if (texture.texture == 0) return std::nullopt;
    return texture;
  };
}

PixelBufferRef composeOnce(GLCompositor& compositor, SourceTextureCache& cache, const RenderPlan& plan,
                           const FrameLookup& lookup) {
  const int width = compositor.canvasWidth(), height = compositor.canvasHeight();
  RenderTarget target(width, height);
  if (!target.complete()) return nullptr;
  FrameReadback readback(width, height);
  PixelBufferPool pool(width, height, 1);
  compositor.render(plan, target, makeFrameProvider(cache, lookup),
                    [](const std::string&) { return std::optional<LayerTexture>(); });
  readback.begin(target);
  return readback.collect(pool, true);
}

bool writePlanPNG(GLCompositor& compositor, SourceTextureCache& cache, const RenderPlan& plan,
                  const FrameLookup& lookup, const std::filesystem::path& path, std::string* error) {
  PixelBufferRef frame = composeOnce(compositor, cache, plan, lookup);
  if (!frame) {
    if (error) *error = "Could not compose the picture for " + path.string();
    return false;
  }
  return writePNG(*frame, path, error);
}

}  // namespace tavorin

#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/PixelBuffer.h"
#include "model/VideoFilterConfig.h"
#include "platform/gpu/Gpu.h"

namespace tavorin {

// Runs a layer's filter stack on its source's picture, one pass per filter
// (blur, sharpen and bloom take three), through targets pooled by size. A
// source shown by several layers with the same stack is filtered once per
// frame. Render thread only.
class VideoFilterRenderer {
 public:
  explicit VideoFilterRenderer(Gpu& gpu);

  // The stack's picture of `source`, valid until endFrame; null when no
  // entry is enabled (the source's own picture is drawn then) or a target
  // cannot be had. `time` in seconds drives the moving filters. The id and
  // the stack must stay until endFrame.
  const GpuTexture* filtered(const std::string& sourceID, const GpuTexture& source,
                             const std::vector<VideoFilterConfig>& filters, double time);
  // The targets of this frame go back to their pools.
  void endFrame();

  // A small picture of `frame` through the stack at time 0, for a look's
  // tile: no larger than `maxSize` on its longer side (never enlarged); the
  // frame itself, scaled, when no entry is enabled. Waits for the GPU; null
  // when the GPU cannot take the frame.
  PixelBufferRef thumbnail(const PixelBuffer& frame, const std::vector<VideoFilterConfig>& filters, int maxSize);

  // Stacks run so far (a stack shared by layers counts once a frame).
  std::uint64_t runCount() const { return runs_; }

 private:
  struct Pool {
    std::vector<std::unique_ptr<GpuTexture>> textures;
    std::size_t used = 0;  // this frame
  };
  // A stack run this frame. Points into the caller's plan, which outlives the
  // frame, so remembering it allocates nothing on the frame clock.
  struct Done {
    const std::string* sourceID = nullptr;
    const GpuTexture* source = nullptr;
    const std::vector<VideoFilterConfig>* filters = nullptr;
    const GpuTexture* result = nullptr;
  };

  GpuTexture* acquire(int width, int height);
  const GpuPass& filterPass(VideoFilterKind kind);
  const GpuPass& blurPass();
  // Blurs `input` by `sigma` pixels into a new target.
  const GpuTexture* blur(const GpuTexture& input, float sigma);
  const GpuTexture* apply(const VideoFilterConfig& filter, const GpuTexture& input, double time);
  // One full-target run of a filter pass.
  void draw(const GpuPass& pass, const GpuTexture& target, std::initializer_list<const GpuTexture*> textures,
            std::span<const float> uniforms);

  Gpu& gpu_;
  std::map<VideoFilterKind, std::unique_ptr<GpuPass>> passes_;
  std::unique_ptr<GpuPass> blur_;
  std::map<std::pair<int, int>, Pool> pools_;
  std::vector<Done> done_;
  std::uint64_t runs_ = 0;
};

}  // namespace tavorin

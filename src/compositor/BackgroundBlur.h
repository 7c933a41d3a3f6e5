#pragma once

#include <string>
#include <unordered_map>

#include "compositor/GLTextures.h"
#include "compositor/RenderTarget.h"
#include "platform/gl/GLContext.h"
#include "platform/gl/GLObjects.h"

namespace tavorin {

// The Gaussian blur behind person-keyed layers: two separable passes into
// textures kept per source, reused while the source's frame size holds.
class BackgroundBlur {
 public:
  explicit BackgroundBlur(const GLContext& context);

  // Blurs `source` with `sigma` texels into the source's own output; returns
  // that output (texture 0 on failure). Leaves the framebuffer binding and
  // viewport changed.
  LayerTexture blur(const std::string& sourceID, const LayerTexture& source, float sigma);

  std::size_t cachedCount() const { return outputs_.size(); }

 private:
  struct Output {
    RenderTarget horizontal;
    RenderTarget vertical;
  };

  void pass(GLuint input, const RenderTarget& into, float dx, float dy, float sigma);

  GLProgramHandle program_;
  GLint direction_ = -1, sigma_ = -1;
  std::unordered_map<std::string, Output> outputs_;
};

}  // namespace tavorin

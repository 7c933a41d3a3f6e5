#pragma once

#include <optional>

#include "compositor/GLTextures.h"
#include "compositor/QuadRenderer.h"
#include "compositor/RenderTarget.h"
#include "platform/gl/GLContext.h"

namespace tavorin {

// Shows a composed frame in a monitor's drawable, letterboxed to keep its
// aspect over the monitor's clear colour. No frame shows only the clear
// colour: neither black nor the last frame.
class MonitorRenderer {
 public:
  static constexpr float kClearColor[4] = {0.03f, 0.03f, 0.045f, 1.0f};

  explicit MonitorRenderer(const GLContext& context);

  // Draws into a drawable that stores BGRA bytes, top row first, as every
  // target of the compositor does.
  void draw(const RenderTarget& drawable, const std::optional<LayerTexture>& frame);

 private:
  QuadRenderer renderer_;
};

}  // namespace tavorin

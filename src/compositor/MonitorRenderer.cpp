#include "compositor/MonitorRenderer.h"

#include "compositor/QuadGeometry.h"

namespace tavorin {

MonitorRenderer::MonitorRenderer(const GLContext& context) : renderer_(context) {}

void MonitorRenderer::draw(const RenderTarget& drawable, const std::optional<LayerTexture>& frame) {
  const int width = drawable.width(), height = drawable.height();
  glBindFramebuffer(GL_FRAMEBUFFER, drawable.framebuffer());
  glViewport(0, 0, width, height);
  // The drawable stores blue first.
  glClearColor(kClearColor[2], kClearColor[1], kClearColor[0], kClearColor[3]);
  glClear(GL_COLOR_BUFFER_BIT);
  if (!frame || frame->texture == 0) return;
  renderer_.begin();
  QuadUniforms u;
  u.transform = aspectFitTransform(static_cast<float>(frame->width), static_cast<float>(frame->height),
                                   static_cast<float>(width), static_cast<float>(height));
  renderer_.drawQuad(u, frame->texture, frame->texture, frame->texture);
}

}  // namespace tavorin

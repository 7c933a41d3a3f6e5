#include "compositor/RenderTarget.h"

#include "compositor/GLTextures.h"

namespace tavorin {

RenderTarget::RenderTarget(int width, int height)
    : width_(width), height_(height), texture_(makeBGRATexture(width, height)), framebuffer_(makeFramebuffer()) {
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_.get());
  glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture_.get(), 0);
  complete_ = glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
}

}  // namespace tavorin

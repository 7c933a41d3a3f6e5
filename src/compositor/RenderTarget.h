#pragma once

#include "platform/gl/GLObjects.h"

namespace tavorin {

// A framebuffer over one BGRA colour texture, reused frame after frame.
class RenderTarget {
 public:
  RenderTarget(int width, int height);

  int width() const { return width_; }
  int height() const { return height_; }
  GLuint framebuffer() const { return framebuffer_.get(); }
  GLuint texture() const { return texture_.get(); }
  bool complete() const { return complete_; }

 private:
  int width_;
  int height_;
  GLTexture texture_;
  GLFramebuffer framebuffer_;
  bool complete_ = false;
};

}  // namespace tavorin

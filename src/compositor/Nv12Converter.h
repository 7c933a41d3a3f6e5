#pragma once

#include "compositor/GLTextures.h"
#include "platform/gl/GLContext.h"
#include "platform/gl/GLObjects.h"

namespace tavorin {

// Where the two NV12 planes of one picture are drawn.
struct Nv12Targets {
  GLuint luma = 0;    // framebuffer over an R8 texture of width x height
  GLuint chroma = 0;  // framebuffer over an RG8 texture of half that, rounded up
  int width = 0;
  int height = 0;
};

// Turns a composed canvas (a BGRA texture of the compositor) into NV12 on
// the GPU, as hardware encoders take it: BT.709, limited range, chroma
// placed as libswscale's bilinear BGRA to NV12 places it. The planes are a
// VA surface's, imported, or an Nv12Readback's. Render thread only.
class Nv12Converter {
 public:
  // Throws GLFailure when its programs do not build.
  explicit Nv12Converter(const GLContext& context);

  // Draws both planes of `canvas` into `into`, which has the canvas's size.
  // Leaves the framebuffer binding and viewport changed.
  void draw(const LayerTexture& canvas, const Nv12Targets& into);

 private:
  void pass(GLuint program, GLuint framebuffer, int width, int height);

  GLProgramHandle luma_;
  GLProgramHandle chroma_;
  GLVertexArray emptyVertexArray_;
};

}  // namespace tavorin

#pragma once

#include <epoxy/gl.h>

#include "compositor/QuadUniforms.h"
#include "platform/gl/GLContext.h"
#include "platform/gl/GLObjects.h"

namespace tavorin {

// The layer and shadow programs and how a quad is drawn with them. Blending
// is premultiplied "over": one and one-minus-source-alpha for colour and alpha.
class QuadRenderer {
 public:
  // Throws GLFailure when a program does not build.
  explicit QuadRenderer(const GLContext& context);

  // Sets the state every draw below relies on: blending, the empty vertex
  // array, and the flip for targets that are read back top row first.
  void begin(float viewFlip = -1.0f);

  // Textures: colour source, person mask, polygon mask.
  void drawQuad(const QuadUniforms& uniforms, GLuint source, GLuint personMask, GLuint polygonMask);
  void drawShadow(const DecorationUniforms& uniforms);

 private:
  GLProgramHandle quadProgram_;
  GLint quadTransform_ = -1, quadParams_ = -1, quadViewFlip_ = -1;
  GLProgramHandle shadowProgram_;
  GLint shadowTransform_ = -1, shadowParams_ = -1, shadowViewFlip_ = -1;
  GLVertexArray emptyVertexArray_;
  float viewFlip_ = -1.0f;
};

}  // namespace tavorin

#pragma once

#include <array>

#include <epoxy/gl.h>

#include "compositor/QuadUniforms.h"
#include "platform/gl/GLContext.h"
#include "platform/gl/GLObjects.h"

namespace tavorin {

// The layer and shadow programs and how a quad is drawn with them. Blending
// is premultiplied "over": one and one-minus-source-alpha for colour and alpha.
// The layer program comes in variants with unused effects compiled out; each
// is built the first time a layer needs it.
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

  // The variant a quad needs: one bit per effect that is on.
  static unsigned variantOf(const QuadUniforms& uniforms);

 private:
  struct Program {
    GLProgramHandle handle;
    GLint transform = -1, params = -1, viewFlip = -1;
  };
  static constexpr unsigned kVariantCount = 64;

  Program& quadProgram(unsigned variant);
  static Program locate(GLProgramHandle handle);

  const GLContext& context_;
  std::array<Program, kVariantCount> quadPrograms_;
  Program shadowProgram_;
  GLVertexArray emptyVertexArray_;
  float viewFlip_ = -1.0f;
};

}  // namespace tavorin

#include "compositor/QuadRenderer.h"

#include <string>

#include "compositor/QuadGeometry.h"
#include "compositor/ShaderSources.h"
#include "platform/gl/GLProgram.h"

namespace tavorin {

namespace {

enum VariantBit : unsigned {
  kChromaKey = 1,
  kPersonKey = 2,
  kRounded = 4,
  kBorder = 8,
  kPolygonMask = 16,
  kFlips = 32,
};

std::string definesFor(unsigned variant) {
  auto line = [&](const char* name, unsigned bit) {
    return std::string("#define ") + name + ((variant & bit) != 0 ? " 1\n" : " 0\n");
  };
  return line("CHROMA_KEY", kChromaKey) + line("PERSON_KEY", kPersonKey) + line("ROUNDED", kRounded) +
         line("BORDER", kBorder) + line("POLYGON_MASK", kPolygonMask) + line("FLIPS", kFlips);
}

}  // namespace

QuadRenderer::Program QuadRenderer::locate(GLProgramHandle handle) {
  Program program;
  const GLuint name = handle.get();
  program.transform = glGetUniformLocation(name, "uTransform");
  program.params = glGetUniformLocation(name, "uParams");
  program.viewFlip = glGetUniformLocation(name, "uViewFlip");
  glUseProgram(name);
  if (GLint at = glGetUniformLocation(name, "uSource"); at >= 0) glUniform1i(at, 0);
  if (GLint at = glGetUniformLocation(name, "uPersonMask"); at >= 0) glUniform1i(at, 1);
  if (GLint at = glGetUniformLocation(name, "uPolygonMask"); at >= 0) glUniform1i(at, 2);
  glUseProgram(0);
  program.handle = std::move(handle);
  return program;
}

QuadRenderer::QuadRenderer(const GLContext& context)
    : context_(context),
      shadowProgram_(locate(buildProgram(context, "decoration_vertex", shaders::decoration_vertex, "shadow_fragment",
                                         shaders::shadow_fragment))),
      emptyVertexArray_(makeVertexArray()) {
  // The plain variant and the one with every effect: any shader error shows at start.
  quadProgram(0);
  quadProgram(kVariantCount - 1 - kPersonKey);
}

QuadRenderer::Program& QuadRenderer::quadProgram(unsigned variant) {
  Program& program = quadPrograms_[variant];
  if (!program.handle) {
    program = locate(buildProgram(context_, "quad_vertex", shaders::quad_vertex, "quad_fragment",
                                  shaders::quad_fragment, definesFor(variant)));
  }
  return program;
}

unsigned QuadRenderer::variantOf(const QuadUniforms& u) {
  unsigned variant = 0;
  const float keyMode = u.keyParams[0];
  if (keyMode > 0.5f) variant |= keyMode < 1.5f ? kChromaKey : kPersonKey;
  for (float r : u.corners) {
    if (r > kEffectEpsilon) variant |= kRounded;
  }
  if (u.misc[1] > kEffectEpsilon) variant |= kBorder;
  if (u.maskParams[0] > 0.5f) variant |= kPolygonMask;
  if (u.misc[3] > 0.5f) variant |= kFlips;
  return variant;
}

void QuadRenderer::begin(float viewFlip) {
  viewFlip_ = viewFlip;
  glBindVertexArray(emptyVertexArray_.get());
  glDisable(GL_DEPTH_TEST);
  glDisable(GL_CULL_FACE);
  glDisable(GL_SCISSOR_TEST);
  glEnable(GL_BLEND);
  glBlendEquation(GL_FUNC_ADD);
  glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
}

void QuadRenderer::drawQuad(const QuadUniforms& u, GLuint source, GLuint personMask, GLuint polygonMask) {
  const Program& program = quadProgram(variantOf(u));
  glUseProgram(program.handle.get());
  glUniformMatrix4fv(program.transform, 1, GL_FALSE, u.transform.data());
  glUniform4fv(program.params, 10, u.crop.data());
  glUniform1f(program.viewFlip, viewFlip_);
  glActiveTexture(GL_TEXTURE2);
  glBindTexture(GL_TEXTURE_2D, polygonMask);
  glActiveTexture(GL_TEXTURE1);
  glBindTexture(GL_TEXTURE_2D, personMask);
  glActiveTexture(GL_TEXTURE0);
  glBindTexture(GL_TEXTURE_2D, source);
  glDrawArrays(GL_TRIANGLES, 0, 6);
}

void QuadRenderer::drawShadow(const DecorationUniforms& u) {
  glUseProgram(shadowProgram_.handle.get());
  glUniformMatrix4fv(shadowProgram_.transform, 1, GL_FALSE, u.transform.data());
  glUniform4fv(shadowProgram_.params, 4, u.color.data());
  glUniform1f(shadowProgram_.viewFlip, viewFlip_);
  glDrawArrays(GL_TRIANGLES, 0, 6);
}

}  // namespace tavorin

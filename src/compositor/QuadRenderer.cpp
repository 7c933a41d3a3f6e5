#include "compositor/QuadRenderer.h"

#include "compositor/ShaderSources.h"
#include "platform/gl/GLProgram.h"

namespace tavorin {

QuadRenderer::QuadRenderer(const GLContext& context)
    : quadProgram_(buildProgram(context, "quad_vertex", shaders::quad_vertex, "quad_fragment", shaders::quad_fragment)),
      shadowProgram_(buildProgram(context, "decoration_vertex", shaders::decoration_vertex, "shadow_fragment",
                                  shaders::shadow_fragment)),
      emptyVertexArray_(makeVertexArray()) {
  const GLuint quad = quadProgram_.get();
  quadTransform_ = glGetUniformLocation(quad, "uTransform");
  quadParams_ = glGetUniformLocation(quad, "uParams");
  quadViewFlip_ = glGetUniformLocation(quad, "uViewFlip");
  glUseProgram(quad);
  glUniform1i(glGetUniformLocation(quad, "uSource"), 0);
  glUniform1i(glGetUniformLocation(quad, "uPersonMask"), 1);
  glUniform1i(glGetUniformLocation(quad, "uPolygonMask"), 2);
  const GLuint shadow = shadowProgram_.get();
  shadowTransform_ = glGetUniformLocation(shadow, "uTransform");
  shadowParams_ = glGetUniformLocation(shadow, "uParams");
  shadowViewFlip_ = glGetUniformLocation(shadow, "uViewFlip");
  glUseProgram(0);
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
  glUseProgram(quadProgram_.get());
  glUniformMatrix4fv(quadTransform_, 1, GL_FALSE, u.transform.data());
  glUniform4fv(quadParams_, 10, u.crop.data());
  glUniform1f(quadViewFlip_, viewFlip_);
  glActiveTexture(GL_TEXTURE2);
  glBindTexture(GL_TEXTURE_2D, polygonMask);
  glActiveTexture(GL_TEXTURE1);
  glBindTexture(GL_TEXTURE_2D, personMask);
  glActiveTexture(GL_TEXTURE0);
  glBindTexture(GL_TEXTURE_2D, source);
  glDrawArrays(GL_TRIANGLES, 0, 6);
}

void QuadRenderer::drawShadow(const DecorationUniforms& u) {
  glUseProgram(shadowProgram_.get());
  glUniformMatrix4fv(shadowTransform_, 1, GL_FALSE, u.transform.data());
  glUniform4fv(shadowParams_, 4, u.color.data());
  glUniform1f(shadowViewFlip_, viewFlip_);
  glDrawArrays(GL_TRIANGLES, 0, 6);
}

}  // namespace tavorin

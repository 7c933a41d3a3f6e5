#include "compositor/BackgroundBlur.h"

#include "compositor/ShaderSources.h"
#include "platform/gl/GLProgram.h"

namespace tavorin {

BackgroundBlur::BackgroundBlur(const GLContext& context)
    : program_(buildProgram(context, "blur_vertex", shaders::blur_vertex, "blur_fragment", shaders::blur_fragment)) {
  direction_ = glGetUniformLocation(program_.get(), "uDirection");
  sigma_ = glGetUniformLocation(program_.get(), "uSigma");
  glUseProgram(program_.get());
  glUniform1i(glGetUniformLocation(program_.get(), "uSource"), 0);
  glUseProgram(0);
}

void BackgroundBlur::pass(GLuint input, const RenderTarget& into, float dx, float dy, float sigma) {
  glBindFramebuffer(GL_FRAMEBUFFER, into.framebuffer());
  glViewport(0, 0, into.width(), into.height());
  glUniform2f(direction_, dx, dy);
  glUniform1f(sigma_, sigma);
  glActiveTexture(GL_TEXTURE0);
  glBindTexture(GL_TEXTURE_2D, input);
  glDrawArrays(GL_TRIANGLES, 0, 3);
}

LayerTexture BackgroundBlur::blur(const std::string& sourceID, const LayerTexture& source, float sigma) {
  auto it = outputs_.find(sourceID);
  if (it == outputs_.end() || it->second.vertical.width() != source.width ||
      it->second.vertical.height() != source.height) {
    Output output{RenderTarget(source.width, source.height), RenderTarget(source.width, source.height)};
    if (!output.horizontal.complete() || !output.vertical.complete()) return {};
    it = outputs_.insert_or_assign(sourceID, std::move(output)).first;
  }
  glDisable(GL_BLEND);
  glUseProgram(program_.get());
  pass(source.texture, it->second.horizontal, 1, 0, sigma);
  pass(it->second.horizontal.texture(), it->second.vertical, 0, 1, sigma);
  glEnable(GL_BLEND);
  return {it->second.vertical.texture(), source.width, source.height};
}

}  // namespace tavorin

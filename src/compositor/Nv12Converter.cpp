#include "compositor/Nv12Converter.h"

#include "compositor/ShaderSources.h"
#include "platform/gl/GLProgram.h"

namespace tavorin {

namespace {

GLProgramHandle buildPlaneProgram(const GLContext& context, const char* defines) {
  GLProgramHandle program =
      buildProgram(context, "blur_vertex", shaders::blur_vertex, "nv12_fragment", shaders::nv12_fragment, defines);
  glUseProgram(program.get());
  glUniform1i(glGetUniformLocation(program.get(), "uCanvas"), 0);
  glUseProgram(0);
  return program;
}

}  // namespace

Nv12Converter::Nv12Converter(const GLContext& context)
    : luma_(buildPlaneProgram(context, "")),
      chroma_(buildPlaneProgram(context, "#define CHROMA 1\n")),
      emptyVertexArray_(makeVertexArray()) {}

void Nv12Converter::pass(GLuint program, GLuint framebuffer, int width, int height) {
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
  glViewport(0, 0, width, height);
  glUseProgram(program);
  glDrawArrays(GL_TRIANGLES, 0, 3);
}

void Nv12Converter::draw(const LayerTexture& canvas, const Nv12Targets& into) {
  glDisable(GL_BLEND);
  glBindVertexArray(emptyVertexArray_.get());
  glActiveTexture(GL_TEXTURE0);
  glBindTexture(GL_TEXTURE_2D, canvas.texture);
  pass(luma_.get(), into.luma, into.width, into.height);
  pass(chroma_.get(), into.chroma, (into.width + 1) / 2, (into.height + 1) / 2);
  glUseProgram(0);
  glEnable(GL_BLEND);
}

}  // namespace tavorin

#include "platform/gl/GLProgram.h"

#include <vector>

#include "platform/gl/GLFailure.h"

namespace tavorin {

namespace {

std::string infoLog(GLuint object, bool isProgram) {
  GLint length = 0;
  if (isProgram) glGetProgramiv(object, GL_INFO_LOG_LENGTH, &length);
  else glGetShaderiv(object, GL_INFO_LOG_LENGTH, &length);
  std::vector<char> text(static_cast<std::size_t>(length > 0 ? length : 1), '\0');
  if (isProgram) glGetProgramInfoLog(object, length, nullptr, text.data());
  else glGetShaderInfoLog(object, length, nullptr, text.data());
  return std::string(text.data());
}

// Returns 0 and fills error on failure.
GLuint compile(GLenum stage, const std::string& preamble, const std::string& defines, const char* source,
               std::string& error) {
  GLuint shader = glCreateShader(stage);
  const char* parts[] = {preamble.c_str(), defines.c_str(), source};
  glShaderSource(shader, 3, parts, nullptr);
  glCompileShader(shader);
  GLint ok = 0;
  glGetShaderiv(shader, GL_COMPILE_STATUS, &ok);
  if (!ok) {
    error = infoLog(shader, false);
    glDeleteShader(shader);
    return 0;
  }
  return shader;
}

}  // namespace

GLProgramHandle buildProgram(const GLContext& context, const std::string& vertexName, const char* vertexSource,
                             const std::string& fragmentName, const char* fragmentSource,
                             const std::string& fragmentDefines) {
  const std::string prefix = "Failed to create pipeline " + vertexName + "/" + fragmentName + ": ";
  std::string error;
  GLuint vertex = compile(GL_VERTEX_SHADER, context.shaderPreamble(), {}, vertexSource, error);
  if (vertex == 0) throw GLFailure(prefix + error);
  GLuint fragment = compile(GL_FRAGMENT_SHADER, context.shaderPreamble(), fragmentDefines, fragmentSource, error);
  if (fragment == 0) {
    glDeleteShader(vertex);
    throw GLFailure(prefix + error);
  }
  GLProgramHandle program(glCreateProgram());
  glAttachShader(program.get(), vertex);
  glAttachShader(program.get(), fragment);
  glLinkProgram(program.get());
  glDeleteShader(vertex);
  glDeleteShader(fragment);
  GLint ok = 0;
  glGetProgramiv(program.get(), GL_LINK_STATUS, &ok);
  if (!ok) throw GLFailure(prefix + infoLog(program.get(), true));
  return program;
}

}  // namespace tavorin

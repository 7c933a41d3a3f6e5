#pragma once

#include <utility>

#include <epoxy/gl.h>

namespace tavorin {

// Owning handle of one GL object name; deleted with the context current.
template <void (*Delete)(GLuint)>
class GLHandle {
 public:
  GLHandle() = default;
  explicit GLHandle(GLuint name) : name_(name) {}
  ~GLHandle() { reset(); }
  GLHandle(GLHandle&& other) noexcept : name_(std::exchange(other.name_, 0)) {}
  GLHandle& operator=(GLHandle&& other) noexcept {
    if (this != &other) {
      reset();
      name_ = std::exchange(other.name_, 0);
    }
    return *this;
  }
  GLHandle(const GLHandle&) = delete;
  GLHandle& operator=(const GLHandle&) = delete;

  GLuint get() const { return name_; }
  // Gives up the name without deleting it.
  GLuint release() { return std::exchange(name_, 0); }
  explicit operator bool() const { return name_ != 0; }
  void reset() {
    if (name_ != 0) Delete(name_);
    name_ = 0;
  }

 private:
  GLuint name_ = 0;
};

namespace gldelete {
inline void texture(GLuint n) { glDeleteTextures(1, &n); }
inline void buffer(GLuint n) { glDeleteBuffers(1, &n); }
inline void framebuffer(GLuint n) { glDeleteFramebuffers(1, &n); }
inline void vertexArray(GLuint n) { glDeleteVertexArrays(1, &n); }
inline void program(GLuint n) { glDeleteProgram(n); }
}  // namespace gldelete

using GLTexture = GLHandle<gldelete::texture>;
using GLBuffer = GLHandle<gldelete::buffer>;
using GLFramebuffer = GLHandle<gldelete::framebuffer>;
using GLVertexArray = GLHandle<gldelete::vertexArray>;
using GLProgramHandle = GLHandle<gldelete::program>;

inline GLTexture makeTexture() {
  GLuint n = 0;
  glGenTextures(1, &n);
  return GLTexture(n);
}
inline GLBuffer makeBuffer() {
  GLuint n = 0;
  glGenBuffers(1, &n);
  return GLBuffer(n);
}
inline GLFramebuffer makeFramebuffer() {
  GLuint n = 0;
  glGenFramebuffers(1, &n);
  return GLFramebuffer(n);
}
inline GLVertexArray makeVertexArray() {
  GLuint n = 0;
  glGenVertexArrays(1, &n);
  return GLVertexArray(n);
}

// Whether the GPU has passed `fence`: asked without waiting, or, with
// `wait`, waiting up to 10 s (a GPU that long behind has hung).
inline bool fencePassed(GLsync fence, bool wait) {
  const GLuint64 timeout = wait ? 10'000'000'000ull : 0;
  const GLenum status = glClientWaitSync(fence, wait ? GL_SYNC_FLUSH_COMMANDS_BIT : 0, timeout);
  return status == GL_ALREADY_SIGNALED || status == GL_CONDITION_SATISFIED;
}

}  // namespace tavorin

#pragma once

#include <string>

#include <epoxy/egl.h>

namespace tavorin {

// The process's one GPU context: EGL with no window (Mesa's surfaceless
// platform or an EGL device), desktop GL 3.3 core or else GLES 3.0. It is
// current on one thread at a time; whoever draws makes it current first.
class GLContext {
 public:
  // Throws GLFailure with kOpenGLUnavailableMessage when no context can be had.
  GLContext();
  ~GLContext();
  GLContext(const GLContext&) = delete;
  GLContext& operator=(const GLContext&) = delete;

  // False when the context is current on another thread.
  bool makeCurrent();
  void releaseCurrent();

  bool isES() const { return es_; }
  // Prepended to every shader: the version line and, on GLES, precisions.
  const std::string& shaderPreamble() const { return preamble_; }
  // Renderer and version strings, for the log.
  const std::string& description() const { return description_; }

 private:
  bool createContext();

  EGLDisplay display_ = EGL_NO_DISPLAY;
  EGLContext context_ = EGL_NO_CONTEXT;
  bool es_ = false;
  std::string preamble_;
  std::string description_;
};

}  // namespace tavorin

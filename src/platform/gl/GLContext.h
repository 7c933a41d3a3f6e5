#pragma once

#include <string>

#include <epoxy/egl.h>

#include "platform/gl/GLShareGroup.h"

namespace tavorin {

// The process's one GPU context: EGL with no window (Mesa's surfaceless
// platform or an EGL device), desktop GL 3.3 core or else GLES 3.0. It is
// current on one thread at a time; whoever draws makes it current first.
class GLContext {
 public:
  // Throws GLFailure with kOpenGLUnavailableMessage when no context can be had.
  GLContext();
  // On the other's display, in its share group, so its contexts can draw our
  // textures. The display stays the other's: it is not terminated here.
  // Throws GLFailure when that display gives no context that shares.
  explicit GLContext(const GLShareGroup& share);
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
  // For another context to join ours.
  GLShareGroup shareGroup() const { return {display_, context_}; }
  // True when another's contexts see our textures and fences.
  bool sharesTextures() const { return share_ != EGL_NO_CONTEXT; }

 private:
  bool createContext();

  EGLDisplay display_ = EGL_NO_DISPLAY;
  EGLContext context_ = EGL_NO_CONTEXT;
  EGLContext share_ = EGL_NO_CONTEXT;
  bool ownsDisplay_ = true;
  bool es_ = false;
  std::string preamble_;
  std::string description_;
};

}  // namespace tavorin

#include "platform/gl/GLContext.h"

#include <cstring>
#include <string_view>
#include <vector>

#include <epoxy/gl.h>

#include "platform/gl/GLFailure.h"

namespace tavorin {

namespace {

bool hasExtension(const char* list, std::string_view name) {
  if (list == nullptr) return false;
  std::string_view all(list);
  std::size_t at = 0;
  while ((at = all.find(name, at)) != std::string_view::npos) {
    const std::size_t end = at + name.size();
    if ((at == 0 || all[at - 1] == ' ') && (end == all.size() || all[end] == ' ')) return true;
    at = end;
  }
  return false;
}

// Hardware devices first: on a machine with a GPU driver the surfaceless
// platform may still resolve to the software rasteriser.
std::vector<EGLDisplay> candidateDisplays() {
  std::vector<EGLDisplay> displays;
  const char* client = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
  const bool devices = hasExtension(client, "EGL_EXT_platform_device") &&
                       hasExtension(client, "EGL_EXT_device_enumeration");
  std::vector<EGLDeviceEXT> software;
  if (devices) {
    EGLint count = 0;
    if (eglQueryDevicesEXT(0, nullptr, &count) && count > 0) {
      std::vector<EGLDeviceEXT> list(static_cast<std::size_t>(count));
      eglQueryDevicesEXT(count, list.data(), &count);
      for (EGLint i = 0; i < count; ++i) {
        const char* ext = eglQueryDeviceStringEXT(list[i], EGL_EXTENSIONS);
        if (hasExtension(ext, "EGL_MESA_device_software")) {
          software.push_back(list[i]);
          continue;
        }
        EGLDisplay d = eglGetPlatformDisplayEXT(EGL_PLATFORM_DEVICE_EXT, list[i], nullptr);
        if (d != EGL_NO_DISPLAY) displays.push_back(d);
      }
    }
  }
  if (hasExtension(client, "EGL_MESA_platform_surfaceless")) {
    EGLDisplay d = eglGetPlatformDisplayEXT(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
    if (d != EGL_NO_DISPLAY) displays.push_back(d);
  }
  for (EGLDeviceEXT device : software) {
    EGLDisplay d = eglGetPlatformDisplayEXT(EGL_PLATFORM_DEVICE_EXT, device, nullptr);
    if (d != EGL_NO_DISPLAY) displays.push_back(d);
  }
  return displays;
}

EGLConfig pickConfig(EGLDisplay display, EGLint renderable) {
  if (hasExtension(eglQueryString(display, EGL_EXTENSIONS), "EGL_KHR_no_config_context")) return EGL_NO_CONFIG_KHR;
  const EGLint attributes[] = {EGL_RENDERABLE_TYPE, renderable, EGL_RED_SIZE, 8, EGL_GREEN_SIZE, 8,
                               EGL_BLUE_SIZE, 8, EGL_ALPHA_SIZE, 8, EGL_NONE};
  EGLConfig config = nullptr;
  EGLint count = 0;
  if (!eglChooseConfig(display, attributes, &config, 1, &count) || count == 0) return nullptr;
  return config;
}

}  // namespace

GLContext::GLContext() {
  for (EGLDisplay display : candidateDisplays()) {
    EGLint major = 0, minor = 0;
    if (!eglInitialize(display, &major, &minor)) continue;
    display_ = display;
    if (hasExtension(eglQueryString(display, EGL_EXTENSIONS), "EGL_KHR_surfaceless_context") && createContext()) {
      return;
    }
    eglTerminate(display);
    display_ = EGL_NO_DISPLAY;
  }
  throw GLFailure(kOpenGLUnavailableMessage);
}

GLContext::GLContext(const GLShareGroup& share)
    : share_(static_cast<EGLContext>(share.context)), ownsDisplay_(false) {
  EGLint major = 0, minor = 0;
  // Initialising an initialised display only reports its version.
  auto display = static_cast<EGLDisplay>(share.display);
  if (display != EGL_NO_DISPLAY && share_ != EGL_NO_CONTEXT && eglInitialize(display, &major, &minor) &&
      hasExtension(eglQueryString(display, EGL_EXTENSIONS), "EGL_KHR_surfaceless_context")) {
    display_ = display;
    if (createContext()) return;
  }
  display_ = EGL_NO_DISPLAY;
  throw GLFailure("The window's GL display gives no context that shares with it");
}

bool GLContext::createContext() {
  if (eglBindAPI(EGL_OPENGL_API)) {
    const EGLint attributes[] = {EGL_CONTEXT_MAJOR_VERSION, 3, EGL_CONTEXT_MINOR_VERSION, 3,
                                 EGL_CONTEXT_OPENGL_PROFILE_MASK, EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT, EGL_NONE};
    EGLConfig config = pickConfig(display_, EGL_OPENGL_BIT);
    context_ = eglCreateContext(display_, config, share_, attributes);
    es_ = false;
  }
  if (context_ == EGL_NO_CONTEXT && eglBindAPI(EGL_OPENGL_ES_API)) {
    const EGLint attributes[] = {EGL_CONTEXT_MAJOR_VERSION, 3, EGL_CONTEXT_MINOR_VERSION, 0, EGL_NONE};
    EGLConfig config = pickConfig(display_, EGL_OPENGL_ES3_BIT);
    context_ = eglCreateContext(display_, config, share_, attributes);
    es_ = true;
  }
  if (context_ == EGL_NO_CONTEXT) return false;
  if (!eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, context_)) {
    eglDestroyContext(display_, context_);
    context_ = EGL_NO_CONTEXT;
    return false;
  }
  preamble_ = es_ ? "#version 300 es\nprecision highp float;\nprecision highp int;\nprecision highp sampler2D;\n"
                  : "#version 330 core\n";
  const auto* renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
  const auto* version = reinterpret_cast<const char*>(glGetString(GL_VERSION));
  description_ = std::string(renderer ? renderer : "?") + ", " + (version ? version : "?");
  return true;
}

GLContext::~GLContext() {
  if (display_ == EGL_NO_DISPLAY) return;
  eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
  if (context_ != EGL_NO_CONTEXT) eglDestroyContext(display_, context_);
  if (ownsDisplay_) eglTerminate(display_);
}

bool GLContext::makeCurrent() { return eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, context_) == EGL_TRUE; }

void GLContext::releaseCurrent() { eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT); }

}  // namespace tavorin

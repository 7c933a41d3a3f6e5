#pragma once

#include <memory>

#include <epoxy/egl.h>
#include <epoxy/gl.h>

#include "base/DmaBufPlane.h"
#include "platform/gl/GLObjects.h"

namespace tavorin {

// Why a dma-buf plane could not become a render target.
enum class DmaBufImportError {
  none,
  noContext,             // no EGL context is current on this thread
  extensionMissing,      // EGL_EXT_image_dma_buf_import or GL_OES_EGL_image is absent (software drivers)
  modifiersUnsupported,  // the plane names a modifier but EGL_EXT_image_dma_buf_import_modifiers is absent
  badDescriptor,         // no fd, no size, or a format other than R8 / GR88
  importRefused,         // the driver would not make an image of it
  notRenderable,         // the image binds as a texture but cannot be drawn into
  notExported,           // the encoder's driver gives no dma-buf of its surfaces
};

// A short phrase for the log.
const char* describe(DmaBufImportError error);

// What stops dma-buf imports on the current context, before any is tried.
DmaBufImportError dmaBufImportSupport();

// One dma-buf plane seen by GL as a texture with a framebuffer around it, so
// the GPU draws straight into the exporter's memory. Made and destroyed with
// the same context current.
class DmaBufImage {
 public:
  // Null, with the reason in `error`, when the plane cannot be drawn into.
  static std::unique_ptr<DmaBufImage> import(const DmaBufPlane& plane, DmaBufImportError& error);

  ~DmaBufImage();
  DmaBufImage(const DmaBufImage&) = delete;
  DmaBufImage& operator=(const DmaBufImage&) = delete;

  int width() const { return width_; }
  int height() const { return height_; }
  GLuint texture() const { return texture_.get(); }
  GLuint framebuffer() const { return framebuffer_.get(); }

 private:
  DmaBufImage(EGLDisplay display, EGLImageKHR image, int width, int height);

  EGLDisplay display_;
  EGLImageKHR image_;
  int width_;
  int height_;
  GLTexture texture_;
  GLFramebuffer framebuffer_;
};

}  // namespace tavorin

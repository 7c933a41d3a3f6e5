#include "platform/gl/DmaBufImage.h"

namespace tavorin {

const char* describe(DmaBufImportError error) {
  switch (error) {
    case DmaBufImportError::none: return "imported";
    case DmaBufImportError::noContext: return "no GL context is current";
    case DmaBufImportError::extensionMissing: return "the GL driver cannot import dma-bufs";
    case DmaBufImportError::modifiersUnsupported: return "the GL driver cannot import tiled dma-bufs";
    case DmaBufImportError::badDescriptor: return "the dma-buf descriptor is incomplete";
    case DmaBufImportError::importRefused: return "the GL driver refused the dma-buf";
    case DmaBufImportError::notRenderable: return "the imported dma-buf cannot be drawn into";
    case DmaBufImportError::notExported: return "the video driver gives no dma-buf of its surfaces";
  }
  return "unknown";
}

DmaBufImportError dmaBufImportSupport() {
  EGLDisplay display = eglGetCurrentDisplay();
  if (display == EGL_NO_DISPLAY || eglGetCurrentContext() == EGL_NO_CONTEXT) return DmaBufImportError::noContext;
  if (!epoxy_has_egl_extension(display, "EGL_KHR_image_base") ||
      !epoxy_has_egl_extension(display, "EGL_EXT_image_dma_buf_import") ||
      !epoxy_has_gl_extension("GL_OES_EGL_image")) {
    return DmaBufImportError::extensionMissing;
  }
  return DmaBufImportError::none;
}

std::unique_ptr<DmaBufImage> DmaBufImage::import(const DmaBufPlane& plane, DmaBufImportError& error) {
  error = dmaBufImportSupport();
  if (error != DmaBufImportError::none) return nullptr;
  if (plane.fd < 0 || plane.width <= 0 || plane.height <= 0 || plane.pitch == 0 ||
      (plane.fourcc != kDrmFormatR8 && plane.fourcc != kDrmFormatGR88)) {
    error = DmaBufImportError::badDescriptor;
    return nullptr;
  }
  EGLDisplay display = eglGetCurrentDisplay();
  const bool modified = plane.modifier != kDrmModifierNone;
  if (modified && !epoxy_has_egl_extension(display, "EGL_EXT_image_dma_buf_import_modifiers")) {
    error = DmaBufImportError::modifiersUnsupported;
    return nullptr;
  }
  EGLint attributes[] = {EGL_WIDTH,
                         plane.width,
                         EGL_HEIGHT,
                         plane.height,
                         EGL_LINUX_DRM_FOURCC_EXT,
                         static_cast<EGLint>(plane.fourcc),
                         EGL_DMA_BUF_PLANE0_FD_EXT,
                         plane.fd,
                         EGL_DMA_BUF_PLANE0_OFFSET_EXT,
                         static_cast<EGLint>(plane.offset),
                         EGL_DMA_BUF_PLANE0_PITCH_EXT,
                         static_cast<EGLint>(plane.pitch),
                         EGL_DMA_BUF_PLANE0_MODIFIER_LO_EXT,
                         static_cast<EGLint>(plane.modifier & 0xffffffffu),
                         EGL_DMA_BUF_PLANE0_MODIFIER_HI_EXT,
                         static_cast<EGLint>(plane.modifier >> 32),
                         EGL_NONE};
  // Without a modifier the attribute list ends before the modifier pair.
  if (!modified) attributes[12] = EGL_NONE;
  EGLImageKHR image = eglCreateImageKHR(display, EGL_NO_CONTEXT, EGL_LINUX_DMA_BUF_EXT, nullptr, attributes);
  if (image == EGL_NO_IMAGE_KHR) {
    error = DmaBufImportError::importRefused;
    return nullptr;
  }
  std::unique_ptr<DmaBufImage> made(new DmaBufImage(display, image, plane.width, plane.height));
  GLint previous = 0;
  glGetIntegerv(GL_TEXTURE_BINDING_2D, &previous);
  glBindTexture(GL_TEXTURE_2D, made->texture_.get());
  // Earlier errors are drained so the check below sees this binding alone.
  while (glGetError() != GL_NO_ERROR) {
  }
  glEGLImageTargetTexture2DOES(GL_TEXTURE_2D, image);
  const bool bound = glGetError() == GL_NO_ERROR;
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
  glBindTexture(GL_TEXTURE_2D, static_cast<GLuint>(previous));
  if (!bound) {
    error = DmaBufImportError::importRefused;
    return nullptr;
  }
  glBindFramebuffer(GL_FRAMEBUFFER, made->framebuffer_.get());
  glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, made->texture_.get(), 0);
  const bool complete = glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  if (!complete) {
    error = DmaBufImportError::notRenderable;
    return nullptr;
  }
  return made;
}

DmaBufImage::DmaBufImage(EGLDisplay display, EGLImageKHR image, int width, int height)
    : display_(display), image_(image), width_(width), height_(height), texture_(makeTexture()),
      framebuffer_(makeFramebuffer()) {}

DmaBufImage::~DmaBufImage() {
  // The texture and framebuffer let go of the image before it is destroyed.
  framebuffer_.reset();
  texture_.reset();
  eglDestroyImageKHR(display_, image_);
}

}  // namespace tavorin

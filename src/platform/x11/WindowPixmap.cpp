#include "platform/x11/WindowPixmap.h"

#include <X11/extensions/Xcomposite.h>

#include "platform/x11/X11Connection.h"

namespace tavorin {

WindowPixmap::WindowPixmap(Display* display, Window window, bool redirect, bool watch)
    : display_(display), window_(window) {
  if (redirect) {
    XCompositeRedirectWindow(display, window, CompositeRedirectAutomatic);
    redirected_ = true;
  }
  if (watch) {
    XSelectInput(display, window, StructureNotifyMask);
    damage_ = XDamageCreate(display, window, XDamageReportNonEmpty);
  }
}

WindowPixmap::~WindowPixmap() {
  releasePixmap();
  image_.reset();
  if (damage_ != None) XDamageDestroy(display_, damage_);
  if (redirected_) XCompositeUnredirectWindow(display_, window_, CompositeRedirectAutomatic);
  // The window may be gone already; what that says is of no interest now.
  XSync(display_, False);
  takeX11Error(display_);
}

void WindowPixmap::releasePixmap() {
  if (pixmap_ != None) XFreePixmap(display_, pixmap_);
  pixmap_ = None;
}

bool WindowPixmap::grab() {
  XWindowAttributes attributes{};
  if (XGetWindowAttributes(display_, window_, &attributes) == 0 || attributes.map_state != IsViewable) {
    takeX11Error(display_);
    return false;
  }
  Window child = None;
  XTranslateCoordinates(display_, window_, attributes.root, -attributes.border_width, -attributes.border_width,
                        &rootX_, &rootY_, &child);
  // The pixmap holds the border too; it is named again whenever the size changed.
  const int width = attributes.width + 2 * attributes.border_width;
  const int height = attributes.height + 2 * attributes.border_width;
  if (pixmap_ == None || width != width_ || height != height_ || attributes.depth != depth_) {
    releasePixmap();
    width_ = width;
    height_ = height;
    depth_ = attributes.depth;
    pixmap_ = XCompositeNameWindowPixmap(display_, window_);
    image_ = std::make_unique<ShmImage>(display_, attributes.visual, depth_, width_, height_);
  }
  if (damage_ != None) XDamageSubtract(display_, damage_, None, None);
  if (!image_->valid() || !image_->grab(pixmap_)) {
    XSync(display_, False);
    takeX11Error(display_);
    releasePixmap();
    return false;
  }
  return true;
}

}  // namespace tavorin

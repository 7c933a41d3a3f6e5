#include "platform/x11/X11WindowPicture.h"

namespace tavorin {
namespace {

constexpr const char* kWindowClosed = "The captured window was closed.";

}  // namespace

void X11WindowPicture::handle(const XEvent& event) {
  if ((event.type == DestroyNotify && event.xdestroywindow.window == pixmap_.window()) ||
      (event.type == UnmapNotify && event.xunmap.window == pixmap_.window())) {
    gone_ = kWindowClosed;
  }
}

std::optional<PaintedPicture> X11WindowPicture::paint() {
  if (!pixmap_.grab()) {
    // Only a window that is no longer mapped cannot be read.
    gone_ = kWindowClosed;
    return std::nullopt;
  }
  return PaintedPicture{pixmap_.view(), pixmap_.alphaMode()};
}

}  // namespace tavorin

#pragma once

#include <X11/Xlib.h>
#include <X11/extensions/Xdamage.h>

#include <memory>

#include "platform/x11/ShmImage.h"

namespace tavorin {

// One window's picture as the Composite extension keeps it off screen, read
// through shared memory: correct even where other windows cover it.
class WindowPixmap {
 public:
  // `redirect`: ask for the window's own off-screen pixmap (one capture's
  // window); off where the root's children are redirected as a whole.
  // `watch`: damage and structure events of the window come to this connection.
  WindowPixmap(Display* display, Window window, bool redirect, bool watch);
  ~WindowPixmap();
  WindowPixmap(const WindowPixmap&) = delete;
  WindowPixmap& operator=(const WindowPixmap&) = delete;

  Window window() const { return window_; }
  // Reads the window as it is now, following a change of size; false when it
  // is gone or unmapped.
  bool grab();
  ImageView view() const { return image_ ? image_->view() : ImageView{}; }
  // Depth-32 windows carry their own (premultiplied) alpha.
  AlphaMode alphaMode() const { return depth_ == 32 ? AlphaMode::premultiplied : AlphaMode::ignored; }
  // The window's outer top-left on the root, as of the last grab.
  int rootX() const { return rootX_; }
  int rootY() const { return rootY_; }
  int width() const { return width_; }
  int height() const { return height_; }

 private:
  void releasePixmap();

  Display* display_;
  Window window_;
  bool redirected_ = false;
  Damage damage_ = None;
  Pixmap pixmap_ = None;
  int width_ = 0, height_ = 0, depth_ = 0, rootX_ = 0, rootY_ = 0;
  std::unique_ptr<ShmImage> image_;
};

}  // namespace tavorin

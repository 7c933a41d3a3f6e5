#pragma once

#include <X11/Xlib.h>
#include <X11/extensions/XShm.h>

#include "platform/x11/ImageView.h"

namespace tavorin {

// An image in memory shared with the X server: XShmGetImage has the server
// write a drawable's pixels straight into it, with no copy through the socket.
class ShmImage {
 public:
  // 32 bits a pixel for depth 24 and 32, as every X server lays them out.
  ShmImage(Display* display, Visual* visual, int depth, int width, int height);
  ~ShmImage();
  ShmImage(const ShmImage&) = delete;
  ShmImage& operator=(const ShmImage&) = delete;

  bool valid() const { return image_ != nullptr; }
  int width() const { return width_; }
  int height() const { return height_; }
  int depth() const { return depth_; }

  // The drawable's pixels from (x, y), as large as the image; false on an X error.
  bool grab(Drawable drawable, int x = 0, int y = 0);
  ImageView view() const;

 private:
  Display* display_;
  int width_, height_, depth_;
  XShmSegmentInfo segment_{};
  XImage* image_ = nullptr;
};

}  // namespace tavorin

#include "platform/x11/PointerImage.h"

#include <X11/extensions/Xfixes.h>

#include <algorithm>

namespace tavorin {

void PointerImage::refreshShape(Display* display) {
  XFixesCursorImage* cursor = XFixesGetCursorImage(display);
  if (cursor == nullptr) {
    width_ = height_ = 0;
    return;
  }
  width_ = cursor->width;
  height_ = cursor->height;
  hotX_ = cursor->xhot;
  hotY_ = cursor->yhot;
  // Xlib hands out 32-bit ARGB pixels in longs, 64 bits wide on 64-bit machines.
  pixels_.resize(static_cast<std::size_t>(width_) * height_);
  for (std::size_t i = 0; i < pixels_.size(); ++i) pixels_[i] = static_cast<std::uint32_t>(cursor->pixels[i]);
  XFree(cursor);
}

bool PointerImage::refreshPosition(Display* display) {
  Window root = None, child = None;
  int x = 0, y = 0, windowX = 0, windowY = 0;
  unsigned mask = 0;
  const bool onScreen =
      XQueryPointer(display, DefaultRootWindow(display), &root, &child, &x, &y, &windowX, &windowY, &mask) != 0;
  const bool moved = onScreen != onScreen_ || x != x_ || y != y_;
  onScreen_ = onScreen;
  previousX_ = x_;
  previousY_ = y_;
  x_ = x;
  y_ = y;
  return moved;
}

bool PointerImage::touches(int originX, int originY, int width, int height) const {
  // Without a picture of the cursor yet, a generous box stands in for it.
  const int w = std::max(width_, 64), h = std::max(height_, 64);
  const auto covers = [&](int x, int y) {
    const int left = x - hotX_, top = y - hotY_;
    return left < originX + width && left + w > originX && top < originY + height && top + h > originY;
  };
  return covers(previousX_, previousY_) || covers(x_, y_);
}

void PointerImage::drawOver(const ImageView& picture, int originX, int originY) {
  if (!onScreen_ || pixels_.empty()) return;
  const ImageView shape{reinterpret_cast<std::uint8_t*>(pixels_.data()), width_, height_,
                        static_cast<std::size_t>(width_) * 4};
  drawPixels(shape, AlphaMode::premultiplied, picture, x_ - hotX_ - originX, y_ - hotY_ - originY);
}

}  // namespace tavorin

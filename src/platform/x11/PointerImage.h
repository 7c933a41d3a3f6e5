#pragma once

#include <X11/Xlib.h>

#include <cstdint>
#include <vector>

#include "platform/x11/ImageView.h"

namespace tavorin {

// The pointer as the server shows it (XFixes): its picture, hot spot and
// where it is, drawn over a captured picture.
class PointerImage {
 public:
  // Reads the current cursor picture; after an XFixes cursor change.
  void refreshShape(Display* display);
  // Asks where the pointer is; true when it moved since the last call.
  bool refreshPosition(Display* display);
  // Whether the pointer, where it was or where it is, covers part of a
  // width × height picture at (originX, originY) on the root.
  bool touches(int originX, int originY, int width, int height) const;
  // Draws it over `picture`, whose top-left is at (originX, originY) on the root.
  void drawOver(const ImageView& picture, int originX, int originY);

 private:
  std::vector<std::uint32_t> pixels_;  // BGRA premultiplied
  int width_ = 0, height_ = 0, hotX_ = 0, hotY_ = 0;
  int x_ = 0, y_ = 0, previousX_ = 0, previousY_ = 0;
  bool onScreen_ = false;
};

}  // namespace tavorin

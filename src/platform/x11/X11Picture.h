#pragma once

#include <X11/Xlib.h>

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "platform/x11/ImageView.h"

namespace tavorin {

// A picture painted for one frame; valid until the next paint.
struct PaintedPicture {
  ImageView view;
  AlphaMode alphaMode = AlphaMode::ignored;
};

// What one kind of screen target paints, on the capture's own connection and thread.
class X11Picture {
 public:
  virtual ~X11Picture() = default;
  // Every event that reaches the capture's connection.
  virtual void handle(const XEvent&) {}
  // Why the target went away; nothing while it is there.
  virtual std::optional<std::string> gone() const { return std::nullopt; }
  // The target as it is now; nothing when it cannot be read at the moment.
  virtual std::optional<PaintedPicture> paint() = 0;
  // Where the picture's top-left is on the root, so the pointer lands right.
  virtual std::pair<int, int> origin() const = 0;
  virtual void setExcludedWindows(const std::set<std::uint32_t>&) {}
};

}  // namespace tavorin

#pragma once

#include "platform/x11/WindowPixmap.h"
#include "platform/x11/X11Picture.h"

namespace tavorin {

// One window's own contents, wherever it is and whatever covers it; gone
// when the window is destroyed or unmapped.
class X11WindowPicture final : public X11Picture {
 public:
  X11WindowPicture(Display* display, Window window) : pixmap_(display, window, true, true) {}

  void handle(const XEvent& event) override;
  std::optional<std::string> gone() const override { return gone_; }
  std::optional<PaintedPicture> paint() override;
  std::pair<int, int> origin() const override { return {pixmap_.rootX(), pixmap_.rootY()}; }

 private:
  WindowPixmap pixmap_;
  std::optional<std::string> gone_;
};

}  // namespace tavorin

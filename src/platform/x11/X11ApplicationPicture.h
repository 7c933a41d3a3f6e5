#pragma once

#include <map>
#include <memory>
#include <vector>

#include "base/PixelBuffer.h"
#include "platform/capture/ScreenTargets.h"
#include "platform/x11/WindowPixmap.h"
#include "platform/x11/X11Picture.h"

namespace tavorin {

// An application's windows in their stacking order, each from its own
// Composite pixmap, at their places on a transparent canvas the size of the
// display. Windows it opens or closes later come and go with them.
class X11ApplicationPicture final : public X11Picture {
 public:
  X11ApplicationPicture(Display* display, const ApplicationTarget& application, const DisplayTarget& on);

  void handle(const XEvent& event) override;
  std::optional<PaintedPicture> paint() override;
  std::pair<int, int> origin() const override { return {display_.x, display_.y}; }
  bool valid() const { return canvas_ != nullptr; }

 private:
  void findWindows();

  Display* connection_;
  ApplicationTarget application_;
  DisplayTarget display_;
  PixelBufferRef canvas_;
  bool windowsChanged_ = true;
  std::vector<Window> order_;  // bottom to top
  std::map<Window, std::unique_ptr<WindowPixmap>> windows_;
};

}  // namespace tavorin

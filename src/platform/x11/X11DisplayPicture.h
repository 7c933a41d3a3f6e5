#pragma once

#include <X11/extensions/Xdamage.h>

#include <map>
#include <memory>

#include "base/PixelBuffer.h"
#include "platform/capture/ScreenTargets.h"
#include "platform/x11/ShmImage.h"
#include "platform/x11/WindowPixmap.h"
#include "platform/x11/X11Picture.h"

namespace tavorin {

// A monitor's rectangle of the root window. Read straight from the root;
// while windows are to be left out, put together from the windows' own
// Composite pixmaps over the desktop background instead.
class X11DisplayPicture final : public X11Picture {
 public:
  X11DisplayPicture(Display* display, const DisplayTarget& target);
  ~X11DisplayPicture() override;

  bool valid() const { return screen_.valid(); }
  std::optional<PaintedPicture> paint() override;
  std::pair<int, int> origin() const override { return {target_.x, target_.y}; }
  void setExcludedWindows(const std::set<std::uint32_t>& windows) override;

 private:
  std::optional<PaintedPicture> paintWithout();
  void paintBackground(const ImageView& canvas);

  Display* display_;
  Window root_;
  DisplayTarget target_;
  Damage damage_ = None;
  ShmImage screen_;
  std::set<std::uint32_t> excluded_;
  std::shared_ptr<PixelBuffer> canvas_;
  std::unique_ptr<ShmImage> background_;
  std::map<Window, std::unique_ptr<WindowPixmap>> windows_;
};

}  // namespace tavorin

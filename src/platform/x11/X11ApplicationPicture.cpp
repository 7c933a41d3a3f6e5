#include "platform/x11/X11ApplicationPicture.h"

#include "platform/x11/X11ScreenTargets.h"
#include "platform/x11/X11TopLevels.h"

namespace tavorin {

X11ApplicationPicture::X11ApplicationPicture(Display* display, const ApplicationTarget& application,
                                             const DisplayTarget& on)
    : connection_(display), application_(application), display_(on), canvas_(PixelBuffer::make(on.width, on.height)) {
  // Windows mapped, unmapped, restacked or destroyed anywhere: the list is looked at again.
  XSelectInput(display, DefaultRootWindow(display), SubstructureNotifyMask);
}

void X11ApplicationPicture::handle(const XEvent& event) {
  switch (event.type) {
    case MapNotify:
    case UnmapNotify:
    case DestroyNotify:
    case ConfigureNotify:
    case ReparentNotify:
      windowsChanged_ = true;
      break;
    default:
      break;
  }
}

void X11ApplicationPicture::findWindows() {
  windowsChanged_ = false;
  order_.clear();
  std::map<Window, std::unique_ptr<WindowPixmap>> kept;
  for (const auto& topLevel : x11StackedTopLevels(connection_)) {
    const auto window = x11DescribeWindow(connection_, topLevel.client);
    if (!window || window->appID != application_.appID) continue;
    auto found = windows_.find(topLevel.client);
    kept.emplace(topLevel.client, found != windows_.end()
                                      ? std::move(found->second)
                                      : std::make_unique<WindowPixmap>(connection_, topLevel.client, true, true));
    order_.push_back(topLevel.client);
  }
  windows_ = std::move(kept);
}

std::optional<PaintedPicture> X11ApplicationPicture::paint() {
  if (windowsChanged_) findWindows();
  const ImageView canvas = ImageView::of(*canvas_);
  clearPixels(canvas, 0);
  for (const Window window : order_) {
    auto& pixmap = *windows_.at(window);
    if (!pixmap.grab()) continue;
    drawPixels(pixmap.view(), pixmap.alphaMode(), canvas, pixmap.rootX() - display_.x, pixmap.rootY() - display_.y);
  }
  return PaintedPicture{canvas, AlphaMode::premultiplied};
}

}  // namespace tavorin

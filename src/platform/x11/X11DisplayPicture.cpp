#include "platform/x11/X11DisplayPicture.h"

#include <X11/Xatom.h>
#include <X11/extensions/Xcomposite.h>

#include "platform/x11/X11Connection.h"
#include "platform/x11/X11Properties.h"
#include "platform/x11/X11TopLevels.h"

namespace tavorin {
namespace {

constexpr std::uint32_t kOpaqueBlack = 0xff000000u;

}  // namespace

X11DisplayPicture::X11DisplayPicture(Display* display, const DisplayTarget& target)
    : display_(display),
      root_(DefaultRootWindow(display)),
      target_(target),
      screen_(display, DefaultVisual(display, DefaultScreen(display)), DefaultDepth(display, DefaultScreen(display)),
              target.width, target.height) {
  // The root's damage covers every window drawn on it.
  damage_ = XDamageCreate(display, root_, XDamageReportNonEmpty);
}

X11DisplayPicture::~X11DisplayPicture() {
  setExcludedWindows({});
  XDamageDestroy(display_, damage_);
}

void X11DisplayPicture::setExcludedWindows(const std::set<std::uint32_t>& windows) {
  if (windows.empty() == excluded_.empty()) {
    excluded_ = windows;
    return;
  }
  // Top-level windows keep off-screen pixmaps only while we need them.
  if (windows.empty()) {
    windows_.clear();
    background_.reset();
    XCompositeUnredirectSubwindows(display_, root_, CompositeRedirectAutomatic);
  } else {
    XCompositeRedirectSubwindows(display_, root_, CompositeRedirectAutomatic);
  }
  excluded_ = windows;
}

std::optional<PaintedPicture> X11DisplayPicture::paint() {
  XDamageSubtract(display_, damage_, None, None);
  if (!excluded_.empty()) return paintWithout();
  if (!screen_.grab(root_, target_.x, target_.y)) {
    XSync(display_, False);
    takeX11Error(display_);
    return std::nullopt;
  }
  return PaintedPicture{screen_.view(), AlphaMode::ignored};
}

void X11DisplayPicture::paintBackground(const ImageView& canvas) {
  clearPixels(canvas, kOpaqueBlack);
  // Wallpaper setters publish the root's background as a pixmap.
  const auto pixmap = x11ListProperty(display_, root_, x11Atom(display_, "_XROOTPMAP_ID"), XA_PIXMAP);
  if (pixmap.empty()) return;
  Window root = None;
  int x = 0, y = 0;
  unsigned width = 0, height = 0, border = 0, depth = 0;
  if (XGetGeometry(display_, pixmap.front(), &root, &x, &y, &width, &height, &border, &depth) == 0 ||
      static_cast<int>(width) < target_.x + target_.width || static_cast<int>(height) < target_.y + target_.height) {
    takeX11Error(display_);
    return;
  }
  if (!background_) {
    background_ = std::make_unique<ShmImage>(display_, DefaultVisual(display_, DefaultScreen(display_)),
                                             static_cast<int>(depth), target_.width, target_.height);
  }
  if (background_->grab(pixmap.front(), target_.x, target_.y)) {
    copyPixels(background_->view(), AlphaMode::ignored, canvas);
  } else {
    XSync(display_, False);
    takeX11Error(display_);
  }
}

std::optional<PaintedPicture> X11DisplayPicture::paintWithout() {
  if (!canvas_) canvas_ = PixelBuffer::make(target_.width, target_.height);
  if (!canvas_) return std::nullopt;
  const ImageView canvas = ImageView::of(*canvas_);
  paintBackground(canvas);

  Window root = None, parent = None;
  Window* children = nullptr;
  unsigned count = 0;
  if (XQueryTree(display_, root_, &root, &parent, &children, &count) == 0) return std::nullopt;
  std::map<Window, std::unique_ptr<WindowPixmap>> shown;
  // The root's children come bottom to top, frames of managed windows among them.
  for (unsigned i = 0; i < count; ++i) {
    const Window frame = children[i];
    XWindowAttributes attributes{};
    if (XGetWindowAttributes(display_, frame, &attributes) == 0 || attributes.map_state != IsViewable ||
        attributes.c_class == InputOnly) {
      continue;
    }
    if (excluded_.contains(static_cast<std::uint32_t>(frame)) ||
        excluded_.contains(static_cast<std::uint32_t>(x11ClientOf(display_, frame)))) {
      continue;
    }
    auto found = windows_.find(frame);
    auto pixmap = found != windows_.end() ? std::move(found->second)
                                          : std::make_unique<WindowPixmap>(display_, frame, false, false);
    if (pixmap->grab()) {
      drawPixels(pixmap->view(), pixmap->alphaMode(), canvas, pixmap->rootX() - target_.x, pixmap->rootY() - target_.y);
    }
    shown.emplace(frame, std::move(pixmap));
  }
  if (children != nullptr) XFree(children);
  windows_ = std::move(shown);
  XSync(display_, False);
  takeX11Error(display_);
  return PaintedPicture{canvas, AlphaMode::ignored};
}

}  // namespace tavorin

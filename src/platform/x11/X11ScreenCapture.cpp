#include "platform/x11/X11ScreenCapture.h"

#include <X11/extensions/XShm.h>
#include <X11/extensions/Xcomposite.h>
#include <X11/extensions/Xdamage.h>
#include <X11/extensions/Xfixes.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cmath>

#include "base/HostTime.h"
#include "base/ThreadName.h"
#include "platform/x11/X11ApplicationPicture.h"
#include "platform/x11/X11DisplayPicture.h"
#include "platform/x11/X11ScreenBackend.h"
#include "platform/x11/X11WindowPicture.h"

namespace tavorin {
namespace {

constexpr double kFrameInterval = 1.0 / 60;

std::unique_ptr<X11Picture> makePicture(Display* display, const ScreenTarget& target) {
  switch (target.kind) {
    case ScreenTarget::Kind::display: {
      auto picture = std::make_unique<X11DisplayPicture>(display, target.display);
      return picture->valid() ? std::move(picture) : nullptr;
    }
    case ScreenTarget::Kind::window: {
      XWindowAttributes attributes{};
      if (XGetWindowAttributes(display, target.window.id, &attributes) == 0 || attributes.map_state != IsViewable) {
        return nullptr;
      }
      return std::make_unique<X11WindowPicture>(display, target.window.id);
    }
    case ScreenTarget::Kind::application: {
      auto picture = std::make_unique<X11ApplicationPicture>(display, target.application, target.display);
      return picture->valid() ? std::move(picture) : nullptr;
    }
  }
  return nullptr;
}

}  // namespace

X11ScreenCapture::~X11ScreenCapture() { stop(); }

std::optional<std::string> X11ScreenCapture::start(const ScreenTarget& target, CaptureLimits limits,
                                                   FrameCallback onFrame, StoppedCallback onStopped) {
  stop();
  connection_ = openX11Connection();
  if (!connection_) return std::string(kNoX11Display);
  Display* display = connection_.get();
  int unused = 0, major = 0, minor = 0;
  if (!XShmQueryExtension(display) || !XDamageQueryExtension(display, &damageEvent_, &unused) ||
      !XFixesQueryExtension(display, &fixesEvent_, &unused) || !XCompositeQueryVersion(display, &major, &minor) ||
      (major == 0 && minor < 2)) {
    connection_.reset();
    return "Screen capture needs the X server's MIT-SHM, DAMAGE, XFIXES and Composite extensions.";
  }
  picture_ = makePicture(display, target);
  XSync(display, False);
  if (!picture_ || takeX11Error(display) != 0) {
    picture_.reset();
    connection_.reset();
    return target.kind == ScreenTarget::Kind::window ? "The window is no longer open." : "The screen cannot be read.";
  }
  XFixesSelectCursorInput(display, DefaultRootWindow(display), XFixesDisplayCursorNotifyMask);
  limits_ = limits;
  onFrame_ = std::move(onFrame);
  onStopped_ = std::move(onStopped);
  wakeFD_ = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
  stopping_ = false;
  thread_ = std::thread([this] { run(); });
  return std::nullopt;
}

void X11ScreenCapture::stop() {
  stopping_ = true;
  // From inside a callback the thread is ours: it leaves its loop and is joined later.
  if (thread_.joinable() && thread_.get_id() == std::this_thread::get_id()) return;
  if (thread_.joinable()) {
    wake();
    thread_.join();
  }
  picture_.reset();
  pool_.reset();
  connection_.reset();
  if (wakeFD_ >= 0) close(wakeFD_);
  wakeFD_ = -1;
}

void X11ScreenCapture::setExcludedWindows(std::set<std::uint32_t> windowIDs) {
  {
    std::lock_guard lock(mutex_);
    newExclusions_ = std::move(windowIDs);
  }
  wake();
}

std::pair<int, int> X11ScreenCapture::nativeSize() const {
  std::lock_guard lock(mutex_);
  return nativeSize_;
}

void X11ScreenCapture::wake() const {
  if (wakeFD_ < 0) return;
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto written = write(wakeFD_, &one, sizeof one);
}

void X11ScreenCapture::handle(const XEvent& event, bool& changed) {
  if (event.type == damageEvent_ + XDamageNotify) {
    changed = true;
  } else if (event.type == fixesEvent_ + XFixesCursorNotify) {
    pointer_.refreshShape(connection_.get());
    changed = true;
  } else if (event.type == ConfigureNotify || event.type == MapNotify || event.type == UnmapNotify ||
             event.type == DestroyNotify) {
    changed = true;
  }
  picture_->handle(event);
}

void X11ScreenCapture::run() {
  nameThisThread("Tavorin.Screen");
  Display* display = connection_.get();
  pointer_.refreshShape(display);
  pointer_.refreshPosition(display);
  bool changed = true;
  double nextFrame = 0;
  std::optional<std::string> why;
  while (!stopping_) {
    std::optional<std::set<std::uint32_t>> exclusions;
    {
      std::lock_guard lock(mutex_);
      exclusions.swap(newExclusions_);
    }
    if (exclusions) {
      picture_->setExcludedWindows(*exclusions);
      changed = true;
    }
    while (XPending(display) > 0) {
      XEvent event;
      XNextEvent(display, &event);
      handle(event, changed);
    }
    if (x11ConnectionLost(display)) {
      why = "The connection to the X display was lost.";
      break;
    }
    // Moving the pointer damages nothing; only asking tells. Moves elsewhere
    // on the root change nothing in this picture.
    if (pointer_.refreshPosition(display)) {
      const auto [originX, originY] = picture_->origin();
      const auto [width, height] = nativeSize();
      changed |= width == 0 || pointer_.touches(originX, originY, width, height);
    }
    const double now = hostTimeNow();
    if (changed && now >= nextFrame) {
      if (publishFrame()) changed = false;
      nextFrame = now + kFrameInterval;
    }
    if ((why = picture_->gone())) break;
    const double wait = changed ? std::max(nextFrame - hostTimeNow(), 0.0) : kFrameInterval;
    pollfd fds[] = {{ConnectionNumber(display), POLLIN, 0}, {wakeFD_, POLLIN, 0}};
    poll(fds, 2, static_cast<int>(std::ceil(wait * 1000)));
    if (fds[1].revents & POLLIN) {
      std::uint64_t count = 0;
      [[maybe_unused]] const auto read = ::read(wakeFD_, &count, sizeof count);
    }
  }
  // Torn down here: after a broken connection Xlib keeps the display locked
  // to this thread, so no other thread may touch it again.
  picture_.reset();
  connection_.reset();
  if (why && !stopping_) onStopped_(*why);
}

bool X11ScreenCapture::publishFrame() {
  const double time = hostTimeNow();
  const auto painted = picture_->paint();
  if (!painted) return false;
  const ImageView& view = painted->view;
  {
    std::lock_guard lock(mutex_);
    nativeSize_ = {view.width, view.height};
  }
  const auto [originX, originY] = picture_->origin();
  // Our own copy of the picture, so the pointer is drawn into it before it is scaled.
  pointer_.drawOver(view, originX, originY);
  const auto [width, height] = captureSize(view.width, view.height, limits_);
  if (!pool_ || pool_->width() != width || pool_->height() != height) {
    pool_ = std::make_unique<PixelBufferPool>(width, height);
  }
  PixelBufferRef frame = pool_->acquire();
  // Every buffer still held downstream: this change goes out with the next frame.
  if (!frame) return false;
  if (width == view.width && height == view.height) {
    copyPixels(view, painted->alphaMode, ImageView::of(*frame));
  } else if (!scaler_.scale(view, painted->alphaMode, *frame)) {
    return false;
  }
  frame->setHostTime(time);
  onFrame_(std::move(frame));
  return true;
}

}  // namespace tavorin

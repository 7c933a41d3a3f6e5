#include "platform/x11/ShmImage.h"

#include <X11/Xutil.h>
#include <sys/ipc.h>
#include <sys/shm.h>

#include "platform/x11/X11Connection.h"

namespace tavorin {

ShmImage::ShmImage(Display* display, Visual* visual, int depth, int width, int height)
    : display_(display), width_(width), height_(height), depth_(depth) {
  segment_.shmid = -1;
  XImage* image = XShmCreateImage(display, visual, static_cast<unsigned>(depth), ZPixmap, nullptr, &segment_,
                                  static_cast<unsigned>(width), static_cast<unsigned>(height));
  if (image == nullptr) return;
  if (image->bits_per_pixel != 32) {
    XDestroyImage(image);
    return;
  }
  segment_.shmid = shmget(IPC_PRIVATE, static_cast<std::size_t>(image->bytes_per_line) * height, IPC_CREAT | 0600);
  if (segment_.shmid < 0) {
    XDestroyImage(image);
    return;
  }
  segment_.shmaddr = image->data = static_cast<char*>(shmat(segment_.shmid, nullptr, 0));
  segment_.readOnly = False;
  const bool attached = segment_.shmaddr != reinterpret_cast<char*>(-1) && XShmAttach(display, &segment_);
  XSync(display, False);
  // Marked for removal now, so the segment goes with us even if we crash;
  // it lives on while the server and we stay attached.
  shmctl(segment_.shmid, IPC_RMID, nullptr);
  if (!attached || takeX11Error(display) != 0) {
    if (segment_.shmaddr != reinterpret_cast<char*>(-1)) shmdt(segment_.shmaddr);
    image->data = nullptr;
    XDestroyImage(image);
    return;
  }
  image_ = image;
}

ShmImage::~ShmImage() {
  if (image_ == nullptr) return;
  XShmDetach(display_, &segment_);
  XSync(display_, False);
  shmdt(segment_.shmaddr);
  image_->data = nullptr;
  XDestroyImage(image_);
}

bool ShmImage::grab(Drawable drawable, int x, int y) {
  if (image_ == nullptr) return false;
  return XShmGetImage(display_, drawable, image_, x, y, AllPlanes) != 0;
}

ImageView ShmImage::view() const {
  if (image_ == nullptr) return {};
  return {reinterpret_cast<std::uint8_t*>(image_->data), width_, height_, static_cast<std::size_t>(image_->bytes_per_line)};
}

}  // namespace tavorin

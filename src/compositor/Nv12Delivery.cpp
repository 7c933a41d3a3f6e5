#include "compositor/Nv12Delivery.h"

#include <utility>

#include "platform/gl/GLObjects.h"

namespace tavorin {

namespace {

bool sameSize(const DmaBufImage& image, const DmaBufPlane& plane) {
  return image.width() == plane.width && image.height() == plane.height;
}

}  // namespace

Nv12Delivery::Nv12Delivery(Nv12Converter& converter, Nv12Output output)
    : converter_(converter), output_(std::move(output)) {}

Nv12Delivery::~Nv12Delivery() { finishSurfaces(true); }

void Nv12Delivery::deliver(const RenderTarget* canvas, bool redrawn, double now) {
  finishSurfaces(false);
  if (canvas == nullptr) return;
  const LayerTexture texture{canvas->texture(), canvas->width(), canvas->height()};
  if (output_.surface && !fellBack_ && output_.surfacesRefused && output_.surfacesRefused()) {
    fellBack_ = true;
    if (output_.fellBack) output_.fellBack(DmaBufImportError::notExported);
  }
  if (output_.surface && !fellBack_ && drawIntoSurface(texture, now)) return;
  if (output_.frames) readBack(texture, redrawn, now);
}

bool Nv12Delivery::drawIntoSurface(const LayerTexture& canvas, double now) {
  // The encoder is behind: this tick goes without, and nothing waits.
  if (pending_ == kSurfacesInFlight) return true;
  const std::optional<Nv12DmaBuf> target = output_.surface(now);
  if (!target) return true;
  DmaBufImportError error = DmaBufImportError::none;
  Imported* planes = importOf(*target, error);
  if (planes == nullptr) {
    if (output_.surfaceDone) output_.surfaceDone(target->surface, now, false);
    fellBack_ = true;
    if (output_.fellBack) output_.fellBack(error);
    return false;
  }
  converter_.draw(canvas, {planes->luma->framebuffer(), planes->chroma->framebuffer(), canvas.width, canvas.height});
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  InFlight& slot = inFlight_[(oldest_ + pending_) % kSurfacesInFlight];
  slot = {glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0), target->surface, now};
  glFlush();
  ++pending_;
  return true;
}

Nv12Delivery::Imported* Nv12Delivery::importOf(const Nv12DmaBuf& target, DmaBufImportError& error) {
  ++uses_;
  Imported* spare = &imports_[0];
  for (Imported& entry : imports_) {
    if (entry.luma && entry.surface == target.surface && sameSize(*entry.luma, target.luma) &&
        sameSize(*entry.chroma, target.chroma)) {
      entry.lastUsed = uses_;
      return &entry;
    }
    if (entry.lastUsed < spare->lastUsed) spare = &entry;
  }
  // The least recently used import makes way; with more surfaces in flight
  // than imports kept, the encoder's pool outgrew kKeptImports.
  auto luma = DmaBufImage::import(target.luma, error);
  if (!luma) return nullptr;
  auto chroma = DmaBufImage::import(target.chroma, error);
  if (!chroma) return nullptr;
  *spare = Imported{target.surface, std::move(luma), std::move(chroma), uses_};
  return spare;
}

void Nv12Delivery::readBack(const LayerTexture& canvas, bool redrawn, double now) {
  if (!readback_ || readback_->width() != canvas.width || readback_->height() != canvas.height) {
    readback_ = std::make_unique<Nv12Readback>(canvas.width, canvas.height);
  }
  readback_->queue(converter_, canvas, redrawn, now);
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  while (Nv12FrameRef frame = readback_->collect()) output_.frames(frame);
}

void Nv12Delivery::finishSurfaces(bool wait) {
  while (pending_ > 0) {
    InFlight& slot = inFlight_[oldest_];
    const bool done = fencePassed(slot.fence, wait);
    if (!done && !wait) return;
    glDeleteSync(slot.fence);
    slot.fence = nullptr;
    oldest_ = (oldest_ + 1) % kSurfacesInFlight;
    --pending_;
    if (output_.surfaceDone) output_.surfaceDone(slot.surface, slot.hostTime, done);
  }
}

}  // namespace tavorin

#include "compositor/MonitorOutput.h"

namespace tavorin {

namespace {

// The window holds one picture on screen and at most one more on its way.
constexpr std::size_t kImageBuffers = 3;
constexpr std::size_t kImageBuffersMost = 8;

void deleteFence(GLsync fence) {
  if (fence != nullptr) glDeleteSync(fence);
}

}  // namespace

MonitorOutput::MonitorOutput(int width, int height, bool sharedTextures)
    : width_(width), height_(height), shared_(sharedTextures) {
  if (shared_) return;
  target_ = std::make_unique<RenderTarget>(width, height);
  readback_ = std::make_unique<FrameReadback>(width, height);
  pool_ = std::make_unique<PixelBufferPool>(width, height, kImageBuffers, kImageBuffersMost);
}

MonitorOutput::~MonitorOutput() {
  for (Slot& slot : ring_) {
    if (!slot.picture) continue;
    deleteFence(slot.picture->drawn);
    deleteFence(slot.picture->released.exchange(nullptr, std::memory_order_acquire));
  }
}

bool MonitorOutput::released() const {
  for (const Slot& slot : ring_) {
    if (slot.picture && slot.picture.use_count() > 1) return false;
  }
  return true;
}

std::optional<MonitorPicture> MonitorOutput::update(MonitorRenderer& scaler, const RenderTarget& canvas,
                                                     bool drawnAnew, double hostTime) {
  if (shared_) {
    if (!drawnAnew && showing_) return std::nullopt;
    return drawShared(scaler, canvas, hostTime);
  }
  return drawImage(scaler, canvas, drawnAnew, hostTime);
}

std::optional<MonitorPicture> MonitorOutput::clear() {
  if (!showing_ && !newest_) return std::nullopt;
  showing_ = false;
  newest_.reset();
  return MonitorPicture{};
}

std::optional<MonitorPicture> MonitorOutput::drawShared(MonitorRenderer& scaler, const RenderTarget& canvas,
                                                        double hostTime) {
  // A texture only the ring holds is neither shown nor on its way to the window.
  Slot* free = nullptr;
  for (std::size_t k = 0; k < kRing && !free; ++k) {
    Slot& slot = ring_[(next_ + k) % kRing];
    if (!slot.picture || slot.picture.use_count() == 1) {
      free = &slot;
      next_ = (next_ + k + 1) % kRing;
    }
  }
  if (!free) return std::nullopt;
  if (!free->target) {
    free->target = std::make_unique<RenderTarget>(width_, height_);
    if (!free->target->complete()) {
      free->target.reset();
      return std::nullopt;
    }
    free->picture = std::make_shared<MonitorTexture>();
    free->picture->texture = free->target->texture();
    free->picture->width = width_;
    free->picture->height = height_;
  }
  MonitorTexture& picture = *free->picture;
  // The window's last sampling of this texture comes before our drawing into it.
  if (GLsync released = picture.released.exchange(nullptr, std::memory_order_acquire)) {
    glWaitSync(released, 0, GL_TIMEOUT_IGNORED);
    glDeleteSync(released);
  }
  deleteFence(picture.drawn);
  scaler.draw(*free->target, LayerTexture{canvas.texture(), canvas.width(), canvas.height()});
  picture.drawn = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
  glFlush();
  picture.hostTime = hostTime;
  showing_ = true;
  return MonitorPicture{free->picture, nullptr};
}

std::optional<MonitorPicture> MonitorOutput::drawImage(MonitorRenderer& scaler, const RenderTarget& canvas,
                                                       bool drawnAnew, double hostTime) {
  if (drawnAnew || !showing_) {
    scaler.draw(*target_, LayerTexture{canvas.texture(), canvas.width(), canvas.height()});
    // A full queue gives up its oldest copy, and with it that copy's time.
    if (!readback_->begin(*target_)) inFlight_.pop_front();
    inFlight_.push_back(hostTime);
    showing_ = true;
  }
  bool changed = false;
  while (readback_->pendingCount() > 0) {
    const std::size_t before = readback_->pendingCount();
    PixelBufferRef copy = readback_->collect(*pool_);
    if (readback_->pendingCount() == before) break;  // not finished yet
    const double composed = inFlight_.front();
    inFlight_.pop_front();
    if (!copy) continue;  // the window holds every buffer: this copy is missed
    copy->setHostTime(composed);
    newest_ = std::move(copy);
    changed = true;
  }
  if (!changed) return std::nullopt;
  return MonitorPicture{nullptr, newest_};
}

}  // namespace tavorin

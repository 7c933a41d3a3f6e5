#include "sources/CameraSource.h"

namespace tavorin {

CameraSource::CameraSource(CameraDevice device, Opener open, MainQueue& queue, std::function<void(std::string)> log,
                           CaptureQuality quality)
    : BaseSource(idFor(device), device.name, SourceKind::camera),
      device_(std::move(device)),
      open_(std::move(open)),
      queue_(queue),
      log_(std::move(log)),
      quality_(quality) {}

CameraSource::~CameraSource() {
  // Queued before the queue goes: no frame callback runs once the fields below are gone.
  work_.post([this] { closeCapture(); });
}

void CameraSource::start(StartDone done) {
  if (isRunning() || starting_) {
    done(std::nullopt);
    return;
  }
  starting_ = true;
  const std::uint64_t generation = ++generation_;
  std::weak_ptr<CameraSource*> weak = self_;
  work_.post([this, weak, generation, device = device_, limits = captureLimits(quality_), done = std::move(done)] {
    closeCapture();
    std::optional<std::string> error;
    capture_ = open_ ? open_(device) : nullptr;
    if (!capture_) {
      error = "Camera not found.";
    } else {
      error = capture_->start(
          limits, [this](PixelBufferRef frame) { publish(std::move(frame)); },
          [this, weak, generation](const std::string& why) {
            queue_.post([weak, generation, why] {
              if (auto self = weak.lock()) (*self)->stopped(generation, why);
            });
          });
      if (error) capture_.reset();
    }
    queue_.post([weak, generation, error, done] {
      if (auto self = weak.lock(); self && (*self)->generation_ == generation) {
        (*self)->starting_ = false;
        (*self)->lastError_ = error;
        (*self)->setRunning(!error);
      }
      done(error);
    });
  });
}

void CameraSource::stop() {
  ++generation_;
  starting_ = false;
  setRunning(false);
  work_.post([this] { closeCapture(); });
}

void CameraSource::setQuality(CaptureQuality quality) {
  quality_ = quality;
  work_.post([this, limits = captureLimits(quality)] {
    if (capture_) capture_->setLimits(limits);
  });
}

void CameraSource::stopped(std::uint64_t generation, const std::string& why) {
  if (generation != generation_ || !isRunning()) return;
  setRunning(false);
  log_("Camera “" + displayName() + "” stopped: " + why);
  // The device's node is let go, so the camera can be opened again when it returns.
  work_.post([this] { closeCapture(); });
}

void CameraSource::closeCapture() {
  if (!capture_) return;
  capture_->stop();
  capture_.reset();
}

}  // namespace tavorin

#include "sources/ScreenCaptureSource.h"

#include <variant>

namespace tavorin {

std::string ScreenCaptureSource::idFor(const ScreenTarget& target) {
  switch (target.kind) {
    case ScreenTarget::Kind::display: return "display:" + std::to_string(target.display.id);
    case ScreenTarget::Kind::window: return "window:" + std::to_string(target.window.id);
    case ScreenTarget::Kind::application: return "app:" + target.application.appID;
  }
  return {};
}

std::string ScreenCaptureSource::nameFor(const ScreenTarget& target) {
  switch (target.kind) {
    case ScreenTarget::Kind::display:
      return target.display.screenShare ? "Screen share" : "Display " + target.display.outputName;
    case ScreenTarget::Kind::window:
      if (!target.window.title.empty()) return target.window.title;
      return target.window.appName.empty() ? "Window" : target.window.appName;
    case ScreenTarget::Kind::application: return target.application.name;
  }
  return {};
}

std::optional<ScreenTarget> findAgain(const ScreenTarget& target, const ScreenTargets& now) {
  ScreenTarget found = target;
  switch (target.kind) {
    case ScreenTarget::Kind::display:
      // The desktop's dialog chose it; its token finds it again.
      if (target.display.screenShare) return target;
      for (const DisplayTarget& d : now.displays) {
        if (d.id == target.display.id) return found.display = d, found;
      }
      return std::nullopt;
    case ScreenTarget::Kind::window:
      for (const WindowTarget& w : now.windows) {
        if (w.id == target.window.id) return found.window = w, found;
      }
      for (const WindowTarget& w : now.windows) {
        if (w.title == target.window.title && w.appID == target.window.appID) return found.window = w, found;
      }
      return std::nullopt;
    case ScreenTarget::Kind::application: {
      bool running = false;
      for (const ApplicationTarget& a : now.applications) running = running || a.appID == target.application.appID;
      if (!running || now.displays.empty()) return std::nullopt;
      found.display = now.displays.front();
      for (const DisplayTarget& d : now.displays) {
        if (d.id == target.display.id) found.display = d;
      }
      return found;
    }
  }
  return std::nullopt;
}

ScreenCaptureSource::ScreenCaptureSource(ScreenTarget target, ScreenCaptureBackend& backend, MainQueue& queue,
                                         std::function<void(std::string)> log, CaptureQuality quality,
                                         std::string id)
    : BaseSource(id.empty() ? idFor(target) : std::move(id), nameFor(target),
                 target.kind == ScreenTarget::Kind::display  ? SourceKind::display
                 : target.kind == ScreenTarget::Kind::window ? SourceKind::window
                                                              : SourceKind::application),
      target_(std::move(target)),
      backend_(backend),
      queue_(queue),
      log_(std::move(log)),
      quality_(quality) {}

ScreenCaptureSource::~ScreenCaptureSource() {
  work_.post([this] { closeCapture(); });
}

std::optional<std::string> ScreenCaptureSource::openCapture(const ScreenTarget& target, CaptureLimits limits,
                                                            std::uint64_t generation) {
  closeCapture();
  capture_ = backend_.makeCapture();
  if (!capture_) return "no screen capture on this desktop";
  std::weak_ptr<ScreenCaptureSource*> weak = self_;
  auto error = capture_->start(
      target, limits, [this](PixelBufferRef frame) { publish(std::move(frame)); },
      [this, weak, generation](const std::string& why) {
        queue_.post([weak, generation, why] {
          if (auto self = weak.lock()) (*self)->stopped(generation, why);
        });
      });
  if (error) {
    capture_.reset();
  }
  return error;
}

void ScreenCaptureSource::closeCapture() {
  if (!capture_) return;
  capture_->stop();
  capture_.reset();
}

void ScreenCaptureSource::start(StartDone done) {
  if (isRunning() || starting_) {
    done(std::nullopt);
    return;
  }
  starting_ = true;
  const std::uint64_t generation = ++generation_;
  std::weak_ptr<ScreenCaptureSource*> weak = self_;
  work_.post([this, weak, generation, target = target_, limits = captureLimits(quality_), excluded = excluded_,
              done = std::move(done)] {
    auto error = openCapture(target, limits, generation);
    if (!error && !excluded.empty()) capture_->setExcludedWindows(excluded);
    const std::string token = error ? std::string() : capture_->screenShareToken();
    queue_.post([weak, generation, error, token, done] {
      if (auto self = weak.lock(); self && (*self)->generation_ == generation) {
        (*self)->starting_ = false;
        if (!error) (*self)->began(token);
      }
      done(error);
    });
  });
}

void ScreenCaptureSource::stop() {
  ++generation_;
  starting_ = false;
  restarting_ = false;
  retryTimer_.cancel();
  setRunning(false);
  work_.post([this] { closeCapture(); });
}

void ScreenCaptureSource::restart() {
  if (restarting_) return;
  restarting_ = true;
  starting_ = false;
  retryTimer_.cancel();
  setRunning(false);
  const std::uint64_t generation = ++generation_;
  std::weak_ptr<ScreenCaptureSource*> weak = self_;
  work_.post([this, weak, generation, target = target_, limits = captureLimits(quality_), excluded = excluded_] {
    closeCapture();
    // A fresh look at the screens: the window may be back under another id.
    ScreenTarget refreshed = target;
    auto listing = backend_.enumerate();
    if (const auto* targets = std::get_if<ScreenTargets>(&listing)) {
      if (auto again = findAgain(target, *targets)) refreshed = *again;
    }
    auto error = openCapture(refreshed, limits, generation);
    if (!error && !excluded.empty()) capture_->setExcludedWindows(excluded);
    const std::string token = error ? std::string() : capture_->screenShareToken();
    queue_.post([weak, generation, refreshed, error, token] {
      auto self = weak.lock();
      if (!self || (*self)->generation_ != generation) return;
      ScreenCaptureSource& source = **self;
      source.restarting_ = false;
      source.target_ = refreshed;
      if (error) {
        source.log_("ScreenCaptureSource '" + source.id() + "' restart failed (" + *error + ") — retrying");
        source.scheduleRetry();
      } else {
        source.began(token);
      }
    });
  });
}

void ScreenCaptureSource::began(const std::string& screenShareToken) {
  setRunning(true);
  if (screenShareToken.empty() || screenShareToken == target_.screenShareToken) return;
  target_.screenShareToken = screenShareToken;
  if (onScreenShareToken) onScreenShareToken(screenShareToken);
}

void ScreenCaptureSource::stopped(std::uint64_t generation, const std::string& why) {
  if (generation != generation_) return;
  log_("ScreenCaptureSource '" + id() + "' stopped: " + why + " — scheduling restart");
  scheduleRetry();
}

void ScreenCaptureSource::scheduleRetry() {
  if (retryTimer_.active()) return;
  std::weak_ptr<ScreenCaptureSource*> weak = self_;
  retryTimer_ = queue_.after(kRetryDelay, [weak] {
    auto self = weak.lock();
    if (!self) return;
    // Spent: a failure of this restart schedules the next one.
    (*self)->retryTimer_ = TimerHandle();
    (*self)->restart();
  });
}

void ScreenCaptureSource::setQuality(CaptureQuality quality) {
  quality_ = quality;
  if (isRunning() || restarting_) restart();
}

void ScreenCaptureSource::updateExclusions(std::set<std::uint32_t> windowIDs) {
  excluded_ = windowIDs;
  if (target_.kind != ScreenTarget::Kind::display) return;
  work_.post([this, windowIDs = std::move(windowIDs)] {
    if (capture_) capture_->setExcludedWindows(windowIDs);
  });
}

}  // namespace tavorin

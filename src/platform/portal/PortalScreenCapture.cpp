#include "platform/portal/PortalScreenCapture.h"

#include "platform/pipewire/PipeWireCameraCapture.h"
#include "platform/portal/ScreenCastPortal.h"

namespace tavorin {

std::variant<ScreenTargets, std::string> PortalScreenBackend::enumerate() {
  if (!ScreenCastPortal::available()) {
    return std::string("Screen capture unavailable — no screen-share portal (xdg-desktop-portal) answers on this desktop.");
  }
  ScreenTargets targets;
  DisplayTarget share;
  share.id = kScreenShareID;
  share.outputName = "Screen or window (choose…)";
  share.screenShare = true;
  targets.displays.push_back(share);
  return targets;
}

std::unique_ptr<ScreenCapture> PortalScreenBackend::makeCapture() { return std::make_unique<PortalScreenCapture>(); }

PortalScreenCapture::PortalScreenCapture() = default;

PortalScreenCapture::~PortalScreenCapture() { stop(); }

std::optional<std::string> PortalScreenCapture::start(const ScreenTarget& target, CaptureLimits limits,
                                                      FrameCallback onFrame, StoppedCallback onStopped) {
  stop();
  auto granted = ScreenCastPortal::open(target.screenShareToken);
  if (auto* why = std::get_if<std::string>(&granted)) return *why;
  auto session = std::move(std::get<std::unique_ptr<ScreenCastSession>>(granted));
  auto stream = std::make_unique<PipeWireCameraCapture>(session->takePipeWireFd(), session->nodeID(), nullptr);
  auto error = stream->start(limits, std::move(onFrame), [onStopped = std::move(onStopped)](const std::string& why) {
    if (onStopped) onStopped("the screen share ended (" + why + ")");
  });
  if (error) return "the shared screen cannot be read: " + *error;
  std::lock_guard hold(lock_);
  session_ = std::move(session);
  stream_ = std::move(stream);
  return std::nullopt;
}

void PortalScreenCapture::stop() {
  std::unique_ptr<PipeWireCameraCapture> stream;
  std::unique_ptr<ScreenCastSession> session;
  {
    std::lock_guard hold(lock_);
    stream = std::move(stream_);
    session = std::move(session_);
  }
  // The stream before the share it reads.
  if (stream) stream->stop();
}

std::pair<int, int> PortalScreenCapture::nativeSize() const {
  std::lock_guard hold(lock_);
  if (!session_) return {0, 0};
  return {session_->width(), session_->height()};
}

std::string PortalScreenCapture::screenShareToken() const {
  std::lock_guard hold(lock_);
  return session_ ? session_->restoreToken() : std::string();
}

}  // namespace tavorin

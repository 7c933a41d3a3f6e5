#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "platform/capture/ScreenCapture.h"

namespace tavorin {

class PipeWireCameraCapture;
class ScreenCastSession;

// Screens on a Wayland desktop: nothing can be listed, so the one target is
// "a screen share", and starting it asks the desktop's ScreenCast portal,
// whose dialog lets the operator pick a screen or window (or, with the token
// of an earlier share, shares it again without asking). The picture comes
// from the portal's PipeWire node, the pointer drawn in.
class PortalScreenBackend final : public ScreenCaptureBackend {
 public:
  // The id the one listed target carries; each added share gets one of its own.
  static constexpr std::uint32_t kScreenShareID = 0x53484152;

  std::variant<ScreenTargets, std::string> enumerate() override;
  std::unique_ptr<ScreenCapture> makeCapture() override;
};

class PortalScreenCapture final : public ScreenCapture {
 public:
  PortalScreenCapture();
  ~PortalScreenCapture() override;

  std::optional<std::string> start(const ScreenTarget& target, CaptureLimits limits, FrameCallback onFrame,
                                   StoppedCallback onStopped) override;
  void stop() override;
  // A share shows what the operator chose; nothing can be left out of it.
  void setExcludedWindows(std::set<std::uint32_t>) override {}
  std::pair<int, int> nativeSize() const override;
  std::string screenShareToken() const override;

 private:
  mutable std::mutex lock_;
  std::unique_ptr<ScreenCastSession> session_;
  std::unique_ptr<PipeWireCameraCapture> stream_;
};

}  // namespace tavorin

#pragma once

#include "platform/capture/ScreenCapture.h"

namespace tavorin {

// What the operator reads when there is no X server to capture from.
inline constexpr const char* kNoX11Display =
    "Screen capture unavailable — no X11 display (on Wayland, allow the screen-share dialog).";

// Screens, windows and applications of the X server in $DISPLAY.
class X11ScreenBackend final : public ScreenCaptureBackend {
 public:
  std::variant<ScreenTargets, std::string> enumerate() override;
  std::unique_ptr<ScreenCapture> makeCapture() override;
};

}  // namespace tavorin

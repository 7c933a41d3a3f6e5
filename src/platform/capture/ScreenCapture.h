#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <variant>

#include "base/PixelBuffer.h"
#include "platform/capture/CaptureSize.h"
#include "platform/capture/ScreenTargets.h"

namespace tavorin {

// One screen target streaming in BGRA (alpha 255), the pointer drawn in,
// scaled down to the limits as captureSize says. A frame comes only when the
// picture changed: an idle screen sends none.
class ScreenCapture {
 public:
  using FrameCallback = std::function<void(PixelBufferRef frame)>;  // the capture's thread
  // The capture's thread: the target went away (a window destroyed or
  // unmapped, the display unplugged) or the connection broke, in words.
  using StoppedCallback = std::function<void(const std::string& why)>;

  virtual ~ScreenCapture() = default;
  // Starts capturing; the error in words when it cannot. Blocks briefly; off the main thread.
  virtual std::optional<std::string> start(const ScreenTarget& target, CaptureLimits limits, FrameCallback onFrame,
                                           StoppedCallback onStopped) = 0;
  // No callback runs after it returns.
  virtual void stop() = 0;
  // For a display: these windows are left out of the picture from the next
  // frame on, without a restart. Ignored by other targets.
  virtual void setExcludedWindows(std::set<std::uint32_t> windowIDs) = 0;
  // The target's own size in pixels, once started.
  virtual std::pair<int, int> nativeSize() const = 0;
  // A screen share's token once granted, to give back at the next start; empty for other captures.
  virtual std::string screenShareToken() const { return {}; }
};

// The machine's screens: what can be captured, and captures of it.
class ScreenCaptureBackend {
 public:
  virtual ~ScreenCaptureBackend() = default;
  // Blocks briefly; any thread. Nothing and the reason when the display cannot be read.
  virtual std::variant<ScreenTargets, std::string> enumerate() = 0;
  virtual std::unique_ptr<ScreenCapture> makeCapture() = 0;
};

}  // namespace tavorin

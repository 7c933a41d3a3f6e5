#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/PixelBuffer.h"
#include "platform/capture/CameraDevice.h"
#include "platform/capture/CaptureSize.h"

namespace tavorin {

// One camera streaming: frames in BGRA (premultiplied, alpha 255) converted
// with the stream's colour matrix and range, stamped with their capture host
// time, handed over on the capture's own thread. Late frames are dropped, never queued.
class CameraCapture {
 public:
  // Capture thread: the newest picture. The callee keeps the reference; the
  // capture never writes into a buffer it has handed over.
  using FrameCallback = std::function<void(PixelBufferRef frame)>;
  // Capture thread: the device went away or failed while streaming, in words.
  using StoppedCallback = std::function<void(const std::string& why)>;
  // Any thread: a line for the show's log (a refused format change, say).
  using LogCallback = std::function<void(const std::string& line)>;

  virtual ~CameraCapture() = default;

  // Opens the device, chooses its format for `limits` and starts streaming.
  // Blocks; called off the main thread. The error in words when it cannot:
  // "Camera access denied — add yourself to the 'video' group or check
  // /dev/video* permissions." when the device refuses us, "Camera is busy —
  // another application is using it." when it is in use.
  virtual std::optional<std::string> start(CaptureLimits limits, FrameCallback onFrame, StoppedCallback onStopped) = 0;
  // Stops streaming and closes the device; no callback runs after it returns.
  virtual void stop() = 0;
  // Chooses the format again for new limits while streaming. A device that
  // refuses the change keeps its format, and the log says
  // "CameraSource: device rejected format change — " and why.
  virtual void setLimits(CaptureLimits limits) = 0;
};

// The cameras of the machine, kept up to date while it runs: PipeWire's
// Video/Source nodes first; the V4L2 nodes when PipeWire offers none. Our own
// virtual camera is never among them.
class CameraDirectory {
 public:
  virtual ~CameraDirectory() = default;
  // Main thread.
  virtual std::vector<CameraDevice> cameras() const = 0;
  // Called on the main thread (through the queue the directory was made with)
  // within 2 s of a camera coming or going.
  std::function<void()> onChanged;
  virtual std::unique_ptr<CameraCapture> open(const CameraDevice& device, CameraCapture::LogCallback log) = 0;
};

}  // namespace tavorin

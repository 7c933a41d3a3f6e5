#pragma once

#include <spa/utils/hook.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/capture/CameraCapture.h"
#include "platform/media/CameraFrameConverter.h"
#include "platform/pipewire/PipeWireCameraNodes.h"
#include "platform/pipewire/PipeWireLoop.h"

struct pw_stream;
struct spa_buffer;

namespace tavorin {

// A PipeWire camera node captured through a video stream on a connection of
// its own, so conversion on its loop thread never holds up anyone else's
// streams. Only the newest queued buffer is converted.
class PipeWireCameraCapture final : public CameraCapture {
 public:
  PipeWireCameraCapture(std::string nodeName, LogCallback log);
  ~PipeWireCameraCapture() override;

  std::optional<std::string> start(CaptureLimits limits, FrameCallback onFrame, StoppedCallback onStopped) override;
  void stop() override;
  // The converter scales to the new limits; the node keeps its format.
  void setLimits(CaptureLimits limits) override;

  // What the stream negotiated; nothing before the first format.
  std::optional<CameraFrameFormat> format() const;

 private:
  struct Events;
  PixelBufferRef convert(const spa_buffer& buffer);
  void stopped(const std::string& why);

  const std::string nodeName_;
  const LogCallback log_;

  std::mutex controlMutex_;
  std::unique_ptr<PipeWireLoop> loop_;
  std::unique_ptr<PipeWireCameraNodes> nodes_;
  FrameCallback onFrame_;
  StoppedCallback onStopped_;
  std::atomic<bool> stopReported_{false};
  // Set once the node was found; cleared under the loop lock before the watcher goes.
  std::atomic<bool> watching_{false};

  // Loop thread only (or under the loop lock).
  pw_stream* stream_ = nullptr;
  spa_hook streamListener_{};
  std::optional<CameraFrameFormat> format_;
  CameraFrameConverter converter_;

  mutable std::mutex stateMutex_;
  CaptureLimits limits_;
  std::optional<CameraFrameFormat> published_;
};

}  // namespace tavorin

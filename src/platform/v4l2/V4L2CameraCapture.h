#pragma once

#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/capture/CameraCapture.h"
#include "platform/media/CameraFrameConverter.h"
#include "platform/v4l2/V4L2DeviceIO.h"
#include "platform/v4l2/V4L2FormatChoice.h"

namespace tavorin {

// A V4L2 camera streaming through mmap buffers on its own thread
// ("Tavorin.Camera"). Only the newest ready picture is converted: older ones
// go straight back to the device, so a slow consumer never sees stale frames.
class V4L2CameraCapture final : public CameraCapture {
 public:
  V4L2CameraCapture(V4L2DeviceIO& io, std::string path, LogCallback log);
  ~V4L2CameraCapture() override;

  std::optional<std::string> start(CaptureLimits limits, FrameCallback onFrame, StoppedCallback onStopped) override;
  void stop() override;
  void setLimits(CaptureLimits limits) override;

  // The device format streaming now; nothing while stopped.
  std::optional<V4L2FormatOption> format() const;

 private:
  struct MappedBuffer {
    void* data = nullptr;
    std::size_t length = 0;
  };

  std::optional<std::string> configure(const V4L2FormatOption& option, bool exactSize);
  void releaseBuffers();
  void closeDevice();
  void startThread();
  void stopThread();
  void run();
  enum class Drained { converted, nothing, gone };
  Drained drainAndConvert();
  void requeue(std::uint32_t index);

  V4L2DeviceIO& io_;
  const std::string path_;
  const LogCallback log_;

  // start/stop/setLimits, one at a time; they own everything below while the thread is stopped.
  std::mutex controlMutex_;
  int fd_ = -1;
  std::vector<V4L2FormatOption> options_;
  std::optional<V4L2FormatOption> current_;
  std::vector<MappedBuffer> buffers_;
  FrameCallback onFrame_;
  StoppedCallback onStopped_;

  // The capture thread's own while it runs.
  std::thread thread_;
  std::atomic<bool> stopping_{false};
  CameraFrameFormat frameFormat_;
  int stride_ = 0;
  CameraFrameConverter converter_;

  // Limits reach the running thread under this short lock.
  mutable std::mutex limitsMutex_;
  CaptureLimits limits_;
  std::optional<V4L2FormatOption> published_;
};

}  // namespace tavorin

#pragma once

#include <atomic>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "base/MainQueue.h"
#include "platform/capture/CameraCapture.h"
#include "platform/v4l2/V4L2DeviceIO.h"

namespace tavorin {

class PipeWireLoop;
class PipeWireCameraNodes;

// The machine's cameras by both routes: PipeWire's when it has any, else the
// V4L2 nodes. PipeWire's registry says when its cameras change; the V4L2
// folders are looked at once a second and the nodes opened only when they
// changed. A PipeWire that is not running just leaves V4L2.
class SystemCameraDirectory final : public CameraDirectory {
 public:
  struct Options {
    std::filesystem::path deviceRoot = "/";  // where sys/ and dev/ are; a test's own tree
    V4L2DeviceIO* io = nullptr;              // the kernel's when null
    bool usePipeWire = true;
  };

  // Main thread; lists the cameras before it returns.
  SystemCameraDirectory(MainQueue& queue, Options options);
  ~SystemCameraDirectory() override;

  std::vector<CameraDevice> cameras() const override { return cameras_; }
  std::unique_ptr<CameraCapture> open(const CameraDevice& device, CameraCapture::LogCallback log) override;

 private:
  void rescanV4L2IfChanged();
  void refresh();
  std::vector<CameraDevice> pipeWireCameras() const;

  MainQueue& queue_;
  const Options options_;
  V4L2DeviceIO& io_;
  std::unique_ptr<PipeWireLoop> loop_;
  std::unique_ptr<PipeWireCameraNodes> nodes_;
  // Registry changes come in bursts; one refresh is queued at a time.
  std::shared_ptr<std::atomic<bool>> refreshQueued_ = std::make_shared<std::atomic<bool>>(false);
  // Tasks still queued when the directory goes find it gone.
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  std::vector<std::string> v4l2Signature_;
  std::vector<CameraDevice> v4l2Cameras_;
  std::vector<CameraDevice> cameras_;
  TimerHandle rescanTimer_;
};

}  // namespace tavorin

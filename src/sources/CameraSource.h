#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "base/MainQueue.h"
#include "base/SerialQueue.h"
#include "model/CaptureQuality.h"
#include "platform/capture/CameraCapture.h"
#include "sources/BaseSource.h"

namespace tavorin {

// One camera of the machine. Opening and streaming run on its own queue
// ("Tavorin.CameraSource"); frames go from the capture's thread straight into
// the slot. A camera unplugged while running stops and says so; when it
// comes back, its owner starts it again.
class CameraSource : public BaseSource {
 public:
  using Opener = std::function<std::unique_ptr<CameraCapture>(const CameraDevice& device)>;

  static std::string idFor(const CameraDevice& device) { return "camera:" + device.uniqueID; }

  // `log` takes a line for the show's log, on the main thread.
  CameraSource(CameraDevice device, Opener open, MainQueue& queue, std::function<void(std::string)> log,
               CaptureQuality quality = CaptureQuality::hd1080);
  ~CameraSource() override;

  void start(StartDone done) override;
  void stop() override;
  bool canPark() const override { return false; }

  // Main thread. Applied to a running capture on its queue.
  void setQuality(CaptureQuality quality);
  CaptureQuality quality() const { return quality_; }
  const CameraDevice& device() const { return device_; }
  // The same camera found again, perhaps at another node: the next start opens it there.
  void setDevice(CameraDevice device) { device_ = std::move(device); }
  bool isStarting() const { return starting_; }
  // Why the last start failed; nothing once one succeeded.
  const std::optional<std::string>& lastError() const { return lastError_; }

 private:
  // Main thread: the capture ended by itself (the camera was unplugged).
  void stopped(std::uint64_t generation, const std::string& why);
  // Queue thread: stops and closes what is open.
  void closeCapture();

  CameraDevice device_;
  Opener open_;
  MainQueue& queue_;
  std::function<void(std::string)> log_;
  CaptureQuality quality_;
  bool starting_ = false;
  std::optional<std::string> lastError_;
  // Raised by every start and stop, so a completion of an earlier one changes nothing.
  std::uint64_t generation_ = 0;
  // Only ever touched on the queue's thread.
  std::unique_ptr<CameraCapture> capture_;
  // Main-thread callbacks hold this weakly: once the source is gone they do nothing.
  std::shared_ptr<CameraSource*> self_ = std::make_shared<CameraSource*>(this);
  // Last: it runs the tasks still queued before the fields above go.
  SerialQueue work_{"Tavorin.Camera"};
};

}  // namespace tavorin

#include "platform/camera/SystemCameraDirectory.h"

#include "platform/pipewire/PipeWireCameraCapture.h"
#include "platform/pipewire/PipeWireCameraNodes.h"
#include "platform/pipewire/PipeWireLoop.h"
#include "platform/v4l2/V4L2CameraCapture.h"
#include "platform/v4l2/V4L2Discovery.h"

namespace tavorin {
namespace {

constexpr double rescanSeconds = 1.0;

}  // namespace

SystemCameraDirectory::SystemCameraDirectory(MainQueue& queue, Options options)
    : queue_(queue), options_(std::move(options)), io_(options_.io ? *options_.io : systemV4L2DeviceIO()) {
  if (options_.usePipeWire) {
    try {
      loop_ = std::make_unique<PipeWireLoop>();
      std::weak_ptr<bool> alive = alive_;
      auto queued = refreshQueued_;
      nodes_ = std::make_unique<PipeWireCameraNodes>(*loop_, [this, alive, queued] {
        // Loop thread: hop to the main thread once per burst.
        if (queued->exchange(true)) return;
        queue_.post([this, alive, queued] {
          queued->store(false);
          if (alive.lock()) refresh();
        });
      });
      nodes_->waitUntilSynced(2.0);
    } catch (const PipeWireFailure&) {
      nodes_.reset();
      loop_.reset();
    }
  }
  v4l2Signature_ = v4l2NodeSignature(options_.deviceRoot);
  v4l2Cameras_ = discoverV4L2Cameras(io_, options_.deviceRoot);
  cameras_ = nodes_ && !pipeWireCameras().empty() ? pipeWireCameras() : v4l2Cameras_;
  rescanTimer_ = queue_.every(rescanSeconds, [this] { rescanV4L2IfChanged(); });
}

SystemCameraDirectory::~SystemCameraDirectory() {
  rescanTimer_.cancel();
  nodes_.reset();
  loop_.reset();
}

std::unique_ptr<CameraCapture> SystemCameraDirectory::open(const CameraDevice& device,
                                                           CameraCapture::LogCallback log) {
  if (device.route == CameraDevice::Route::pipewire) {
    return std::make_unique<PipeWireCameraCapture>(device.path, std::move(log));
  }
  return std::make_unique<V4L2CameraCapture>(io_, device.path, std::move(log));
}

void SystemCameraDirectory::rescanV4L2IfChanged() {
  auto signature = v4l2NodeSignature(options_.deviceRoot);
  if (signature == v4l2Signature_) return;
  v4l2Signature_ = std::move(signature);
  v4l2Cameras_ = discoverV4L2Cameras(io_, options_.deviceRoot);
  refresh();
}

void SystemCameraDirectory::refresh() {
  auto fromPipeWire = pipeWireCameras();
  auto next = fromPipeWire.empty() ? v4l2Cameras_ : std::move(fromPipeWire);
  if (next == cameras_) return;
  cameras_ = std::move(next);
  if (onChanged) onChanged();
}

std::vector<CameraDevice> SystemCameraDirectory::pipeWireCameras() const {
  std::vector<CameraDevice> cameras;
  if (!nodes_) return cameras;
  for (const auto& node : nodes_->nodes()) {
    cameras.push_back({node.name, node.description, CameraDevice::Route::pipewire, node.name, node.serial});
  }
  return cameras;
}

}  // namespace tavorin

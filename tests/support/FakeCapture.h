#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "platform/capture/CameraCapture.h"
#include "platform/capture/ScreenCapture.h"

namespace tavorin::testing {

// A capture that starts or fails as its backend says, and can be stopped "by the system".
struct FakeCapture {
  std::function<void(PixelBufferRef)> onFrame;
  std::function<void(const std::string&)> onStopped;
};

class FakeScreenBackend : public ScreenCaptureBackend {
 public:
  class Capture : public ScreenCapture {
   public:
    explicit Capture(FakeScreenBackend& owner) : owner_(owner) {}
    std::optional<std::string> start(const ScreenTarget& target, CaptureLimits, FrameCallback onFrame,
                                     StoppedCallback onStopped) override {
      std::lock_guard hold(owner_.lock);
      owner_.started.push_back(target);
      if (owner_.failStarts) return "target gone";
      owner_.live = {std::move(onFrame), std::move(onStopped)};
      return std::nullopt;
    }
    void stop() override {
      std::lock_guard hold(owner_.lock);
      owner_.live = {};
    }
    void setExcludedWindows(std::set<std::uint32_t> ids) override {
      std::lock_guard hold(owner_.lock);
      owner_.excluded = std::move(ids);
    }
    std::pair<int, int> nativeSize() const override { return {1920, 1080}; }

   private:
    FakeScreenBackend& owner_;
  };

  std::variant<ScreenTargets, std::string> enumerate() override {
    std::lock_guard hold(lock);
    if (problem) return *problem;
    return targets;
  }
  std::unique_ptr<ScreenCapture> makeCapture() override { return std::make_unique<Capture>(*this); }

  std::mutex lock;
  ScreenTargets targets;
  std::optional<std::string> problem;  // the display cannot be read
  bool failStarts = false;
  std::vector<ScreenTarget> started;
  FakeCapture live;
  std::set<std::uint32_t> excluded;
};

inline ScreenTarget windowTarget(std::uint32_t id, const std::string& title, const std::string& app) {
  ScreenTarget target;
  target.kind = ScreenTarget::Kind::window;
  target.window = {id, title, app, app + " name", 640, 480};
  return target;
}

class FakeCamera : public CameraCapture {
 public:
  explicit FakeCamera(std::optional<std::string> failure, FakeCapture& live) : failure_(std::move(failure)), live_(live) {}
  std::optional<std::string> start(CaptureLimits, FrameCallback onFrame, StoppedCallback onStopped) override {
    if (failure_) return failure_;
    live_ = {std::move(onFrame), std::move(onStopped)};
    return std::nullopt;
  }
  void stop() override { live_ = {}; }
  void setLimits(CaptureLimits) override {}

 private:
  std::optional<std::string> failure_;
  FakeCapture& live_;
};

// Cameras that come and go as the test says; each opens a FakeCamera.
class FakeCameraDirectory : public CameraDirectory {
 public:
  std::vector<CameraDevice> cameras() const override { return list; }
  std::unique_ptr<CameraCapture> open(const CameraDevice&, CameraCapture::LogCallback) override {
    return std::make_unique<FakeCamera>(failure, live);
  }
  // As a hot-plug reports it.
  void set(std::vector<CameraDevice> now) {
    list = std::move(now);
    if (onChanged) onChanged();
  }

  std::vector<CameraDevice> list;
  std::optional<std::string> failure;
  FakeCapture live;
};

}  // namespace tavorin::testing

#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "platform/capture/ScreenCapture.h"

namespace tavorin::testing {

// What a capture delivered: how many frames, the newest one, and why it stopped.
class CapturedFrames {
 public:
  ScreenCapture::FrameCallback onFrame() {
    return [this](PixelBufferRef frame) {
      std::lock_guard lock(mutex_);
      ++count_;
      last_ = std::move(frame);
    };
  }
  ScreenCapture::StoppedCallback onStopped() {
    return [this](const std::string& why) {
      std::lock_guard lock(mutex_);
      stopped_ = why;
    };
  }
  int count() const {
    std::lock_guard lock(mutex_);
    return count_;
  }
  FrameRef last() const {
    std::lock_guard lock(mutex_);
    return last_;
  }
  std::optional<std::string> stopped() const {
    std::lock_guard lock(mutex_);
    return stopped_;
  }

 private:
  mutable std::mutex mutex_;
  int count_ = 0;
  FrameRef last_;
  std::optional<std::string> stopped_;
};

}  // namespace tavorin::testing

#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>

#include "base/PixelBufferPool.h"
#include "platform/capture/ScreenCapture.h"
#include "platform/x11/FrameScaler.h"
#include "platform/x11/PointerImage.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11Picture.h"

namespace tavorin {

// A screen target captured on the thread "Tavorin.Screen" over a connection
// of its own. Damage events say when the picture changed; the pointer is
// asked for sixty times a second; frames come at most sixty times a second
// and only after a change.
class X11ScreenCapture final : public ScreenCapture {
 public:
  X11ScreenCapture() = default;
  ~X11ScreenCapture() override;

  std::optional<std::string> start(const ScreenTarget& target, CaptureLimits limits, FrameCallback onFrame,
                                   StoppedCallback onStopped) override;
  void stop() override;
  void setExcludedWindows(std::set<std::uint32_t> windowIDs) override;
  std::pair<int, int> nativeSize() const override;

 private:
  void run();
  void handle(const XEvent& event, bool& changed);
  // False when no frame could be made now (the pool is empty, the target unreadable).
  bool publishFrame();
  void wake() const;

  X11Connection connection_;
  std::unique_ptr<X11Picture> picture_;
  CaptureLimits limits_;
  FrameCallback onFrame_;
  StoppedCallback onStopped_;
  int damageEvent_ = 0;
  int fixesEvent_ = 0;
  PointerImage pointer_;
  FrameScaler scaler_;
  std::unique_ptr<PixelBufferPool> pool_;

  int wakeFD_ = -1;
  std::atomic<bool> stopping_{false};
  std::thread thread_;

  mutable std::mutex mutex_;  // guards what other threads hand in or read out
  std::optional<std::set<std::uint32_t>> newExclusions_;
  std::pair<int, int> nativeSize_{0, 0};
};

}  // namespace tavorin

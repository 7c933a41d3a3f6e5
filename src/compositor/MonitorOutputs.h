#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "compositor/Canvas.h"
#include "compositor/MonitorOutput.h"

namespace tavorin {

// The monitors on screen and their pictures. Any thread asks for a monitor,
// resizes it, drops it and reads its newest picture; the render thread makes
// each monitor's copy as its canvas is drawn. A monitor's textures outlive it
// until the window has let go of every one.
class MonitorOutputs {
 public:
  using ID = std::uint64_t;

  explicit MonitorOutputs(bool sharedTextures) : shared_(sharedTextures) {}
  // Render thread, or with the context current: the copies are GPU objects.
  ~MonitorOutputs() = default;

  bool sharedTextures() const { return shared_; }

  // Any thread. A size below one pixel counts as one.
  void add(ID id, Canvas canvas, int width, int height);
  void resize(ID id, int width, int height);
  // Unknown ids are ignored.
  void remove(ID id);
  // Empty for an unknown monitor or before its first picture.
  MonitorPicture picture(ID id) const;

  // Render thread, at the start of a tick: takes the requests made since the last.
  void sync();
  // Render thread: the largest monitor of the canvas, 0 × 0 with none.
  std::pair<int, int> largest(Canvas canvas) const;
  // Render thread, after a canvas was drawn: its target, or null while it shows nothing.
  void draw(Canvas canvas, MonitorRenderer& scaler, const RenderTarget* target, bool drawnAnew, double hostTime);

 private:
  struct Request {
    Canvas canvas;
    int width;
    int height;
  };
  struct Live {
    Request request;
    std::unique_ptr<MonitorOutput> output;
  };
  void publish(ID id, MonitorPicture picture);

  const bool shared_;
  mutable std::mutex requestsLock_;
  std::map<ID, Request> requests_;
  std::atomic<std::uint64_t> version_{0};
  // Render thread only.
  std::uint64_t seen_ = 0;
  std::map<ID, Live> live_;
  std::vector<std::unique_ptr<MonitorOutput>> retired_;
  // Held only for a copy or an assignment.
  mutable std::mutex picturesLock_;
  std::map<ID, MonitorPicture> pictures_;
};

}  // namespace tavorin

#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "base/HostTime.h"
#include "base/Published.h"
#include "base/PublishedView.h"
#include "base/SerialQueue.h"
#include "sources/BaseSource.h"

namespace tavorin {

// A still drawn from a small design record (a title, a shape). The picture is
// drawn once per change of the design, on the source's own queue, into the
// painter's pooled buffers, and published as the source's frame: nothing is
// drawn per frame, and between edits the source costs nothing.
//
// Painter: `PixelBufferRef draw(const Config&)`, null when no buffer can be
// had (the previous frame then stays); called only on the source's queue.
template <class Config, class Painter>
class GeneratedStill : public BaseSource {
  // Declared first: the view below shows it.
  Published<Config> config_;

 public:
  // The design; main thread. Observers hear of every apply.
  PublishedView<Config> config{config_};
  // Told after every apply, on the caller's thread: the owner saves the design.
  std::function<void(const Config&)> onConfigChange;

  // The one way to change the design: stores it, has it drawn, then tells
  // onConfigChange. Main thread; returns without waiting for the drawing.
  void apply(Config next) {
    config_ = std::move(next);
    requestDrawing();
    if (onConfigChange) onConfigChange(config_.get());
  }

  void start(StartDone done) override {
    setRunning(true);
    if (done) done(std::nullopt);
  }
  void stop() override { setRunning(false); }
  bool canPark() const override { return false; }

  // Returns once every drawing asked for so far is published (or given up for
  // a newer one). Not from the source's own queue.
  void waitUntilDrawn() { queue_.drain(); }

 protected:
  // The first picture is published before the constructor returns, so a
  // layer added at once is fitted to it.
  GeneratedStill(std::string id, std::string displayName, Config design, std::string queueName)
      : BaseSource(std::move(id), std::move(displayName), SourceKind::still),
        config_(std::move(design)),
        queue_(std::move(queueName)) {
    requestDrawing();
    queue_.drain();
  }

 private:
  void requestDrawing() {
    const std::uint64_t request = ++requested_;
    queue_.post([this, request, design = config_.get()] {
      // Edits that come faster than drawings (a slider, typing) draw only the newest design.
      if (request != requested_.load(std::memory_order_relaxed)) return;
      if (PixelBufferRef picture = painter_.draw(design)) {
        picture->setHostTime(hostTimeNow());
        publish(std::move(picture));
      }
    });
  }

  Painter painter_;  // the source's queue only
  std::atomic<std::uint64_t> requested_{0};
  // Last, so it goes first: drawings still queued finish while the painter is there.
  SerialQueue queue_;
};

}  // namespace tavorin

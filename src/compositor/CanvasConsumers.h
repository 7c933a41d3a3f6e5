#pragma once

#include <cstdint>
#include <limits>
#include <map>

#include "compositor/Canvas.h"

namespace tavorin {

// What the consumers need of the frame clock now: the canvases a tick draws,
// and how many ticks a second.
struct CanvasDemand {
  std::uint32_t canvases = 0;  // one bit per Canvas
  std::uint32_t pictures = 0;  // those someone takes as pixels in memory, read back from the GPU
  double rate = 0;             // 0 while nothing is consumed: the clock rests
};

// Who takes which canvas's pictures, and how often: monitors at the display's
// refresh, outputs (recorder, streams, virtual camera) at their frame rates.
// A canvas nobody takes is not drawn. Not thread-safe: its owner guards it.
class CanvasConsumers {
 public:
  using ID = std::uint64_t;
  // A monitor: every refresh the display makes.
  static constexpr double kEveryRefresh = std::numeric_limits<double>::infinity();

  // `rate` is in frames a second; below one (or not a number) counts as one,
  // as the encoders count it. A consumer without `pictures` (a monitor that
  // draws its own copy on the GPU) needs the canvas drawn but not read back.
  ID add(Canvas canvas, double rate, bool pictures = true);
  // Unknown or already removed ids are ignored.
  void remove(ID id);

  // Each consumed canvas is drawn on every tick, and the clock ticks at the
  // fastest consumer's rate, never faster than the display refreshes.
  CanvasDemand demand(double refreshRate) const;

 private:
  struct Need {
    Canvas canvas;
    double rate;
    bool pictures;
  };
  std::map<ID, Need> needs_;
  ID next_ = 1;
};

}  // namespace tavorin

#include "compositor/CanvasConsumers.h"

#include <algorithm>

namespace tavorin {

CanvasConsumers::ID CanvasConsumers::add(Canvas canvas, double rate, bool pictures) {
  const ID id = next_++;
  needs_.emplace(id, Need{canvas, rate >= 1 ? rate : 1.0, pictures});
  return id;
}

void CanvasConsumers::remove(ID id) { needs_.erase(id); }

CanvasDemand CanvasConsumers::demand(double refreshRate) const {
  CanvasDemand demand;
  for (const auto& [id, need] : needs_) {
    demand.canvases |= 1u << static_cast<unsigned>(need.canvas);
    if (need.pictures) demand.pictures |= 1u << static_cast<unsigned>(need.canvas);
    demand.rate = std::max(demand.rate, need.rate);
  }
  demand.rate = std::min(demand.rate, refreshRate);
  return demand;
}

}  // namespace tavorin

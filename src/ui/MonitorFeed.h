#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "base/PixelBuffer.h"

namespace tavorin {

// Where monitors get their pictures, without knowing the engine: a canvas is
// "preview", "program", or a scene's id for its thumbnail.
struct MonitorFeed {
  // The newest picture of the canvas; null before there is one.
  std::function<FrameRef(const std::string& canvas)> newest;
  // A monitor on screen asks the frame clock for its canvas; the returned
  // token gives it back when the monitor is hidden or goes.
  std::function<std::uint64_t(const std::string& canvas)> watch;
  std::function<void(std::uint64_t token)> unwatch;
};

}  // namespace tavorin

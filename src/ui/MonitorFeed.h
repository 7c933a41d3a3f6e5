#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "base/PixelBuffer.h"
#include "compositor/MonitorPicture.h"

namespace tavorin {

// Where monitors get their pictures, without knowing the engine: a canvas is
// "preview", "program", "studio", or a scene's id for its thumbnail, or "source:" and a
// source's id.
struct MonitorFeed {
  // The newest picture of a thumbnail or source; null before there is one.
  std::function<FrameRef(const std::string& name)> newest;
  // A monitor on screen asks the frame clock for its canvas, drawn at its
  // size in pixels; the token gives it back when the monitor is hidden or
  // goes. 0 for names that are no canvas: their pictures come from `newest`.
  std::function<std::uint64_t(const std::string& name, int width, int height)> watch;
  std::function<void(std::uint64_t token, int width, int height)> resize;
  std::function<void(std::uint64_t token)> unwatch;
  std::function<MonitorPicture(std::uint64_t token)> picture;
  // The canvas's size in pixels, for its aspect; 0 × 0 for other names.
  std::function<std::pair<int, int>(const std::string& name)> canvasSize;
};

}  // namespace tavorin

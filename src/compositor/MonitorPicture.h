#pragma once

#include <atomic>
#include <memory>

#include <epoxy/gl.h>

#include "base/PixelBuffer.h"

namespace tavorin {

// A monitor's picture drawn at its size into a texture that the window's GL
// contexts share with the compositor's. Its sampler sees true rgba, and its
// first row is the picture's top.
struct MonitorTexture {
  GLuint texture = 0;
  int width = 0;
  int height = 0;
  double hostTime = 0;  // when the picture was composed
  // The compositor's fence after drawing: whoever samples waits on it first.
  GLsync drawn = nullptr;
  // The monitor's fence after its last sampling, set before it lets go: the
  // compositor waits on it before drawing into the texture again.
  std::atomic<GLsync> released{nullptr};
};

// What a monitor shows now: a shared texture where the window's contexts
// share the compositor's, or else pixels to upload. Neither while the canvas
// shows nothing.
struct MonitorPicture {
  std::shared_ptr<MonitorTexture> texture;
  FrameRef image;

  bool empty() const { return !texture && !image; }
  double hostTime() const { return texture ? texture->hostTime : image ? image->hostTime() : 0; }
  bool operator==(const MonitorPicture&) const = default;
};

}  // namespace tavorin

#pragma once

#include <memory>

namespace tavorin {

class PixelBuffer;  // base/PixelBuffer.h

// A source's picture at one moment: a retained BGRA image and its capture time
// in host seconds. Crosses threads by reference.
struct Frame {
  std::shared_ptr<PixelBuffer> pixelBuffer;
  double time = 0;
  friend bool operator==(const Frame&, const Frame&) = default;
};

}  // namespace tavorin

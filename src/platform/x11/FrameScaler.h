#pragma once

#include "base/PixelBuffer.h"
#include "platform/x11/ImageView.h"

struct SwsContext;

namespace tavorin {

// Scales a captured picture down into a frame (libswscale, area filter);
// the context is kept while the sizes stay the same.
class FrameScaler {
 public:
  FrameScaler() = default;
  ~FrameScaler();
  FrameScaler(const FrameScaler&) = delete;
  FrameScaler& operator=(const FrameScaler&) = delete;

  // False when swscale cannot make a context for these sizes.
  bool scale(const ImageView& source, AlphaMode mode, PixelBuffer& target);

 private:
  SwsContext* context_ = nullptr;
};

}  // namespace tavorin

#include "platform/x11/FrameScaler.h"

extern "C" {
#include <libswscale/swscale.h>
}

namespace tavorin {

FrameScaler::~FrameScaler() { sws_freeContext(context_); }

bool FrameScaler::scale(const ImageView& source, AlphaMode mode, PixelBuffer& target) {
  // BGR0 in has swscale write alpha 255; premultiplied BGRA scales correctly as it is.
  const AVPixelFormat input = mode == AlphaMode::ignored ? AV_PIX_FMT_BGR0 : AV_PIX_FMT_BGRA;
  context_ = sws_getCachedContext(context_, source.width, source.height, input, target.width(), target.height(),
                                  AV_PIX_FMT_BGRA, SWS_AREA, nullptr, nullptr, nullptr);
  if (context_ == nullptr) return false;
  const std::uint8_t* const sourcePlanes[] = {source.data};
  const int sourceStrides[] = {static_cast<int>(source.stride)};
  std::uint8_t* const targetPlanes[] = {target.data()};
  const int targetStrides[] = {static_cast<int>(target.bytesPerRow())};
  sws_scale(context_, sourcePlanes, sourceStrides, 0, source.height, targetPlanes, targetStrides);
  return true;
}

}  // namespace tavorin

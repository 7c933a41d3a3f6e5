#include "platform/media/ClipPictureConverter.h"

#include <cmath>
#include <cstring>

extern "C" {
#include <libavutil/display.h>
}

#include "platform/media/ImageDecoder.h"
#include "platform/media/PictureConversion.h"

namespace tavorin {

namespace {

// The decode-ahead queue, the published frame and what the compositor holds.
constexpr std::size_t kMaximumPooledBuffers = 16;

// Copies `in` into `out` turned clockwise by `turns` quarter turns.
void turn(const PixelBuffer& in, PixelBuffer& out, int turns) {
  const int w = in.width(), h = in.height();
  for (int y = 0; y < out.height(); ++y) {
    auto* dst = reinterpret_cast<std::uint32_t*>(out.row(y));
    for (int x = 0; x < out.width(); ++x) {
      int sx = x, sy = y;
      if (turns == 1) sx = y, sy = h - 1 - x;
      if (turns == 2) sx = w - 1 - x, sy = h - 1 - y;
      if (turns == 3) sx = w - 1 - y, sy = x;
      dst[x] = reinterpret_cast<const std::uint32_t*>(in.row(sy))[sx];
    }
  }
}

}  // namespace

int quarterTurnsFor(const std::int32_t* matrix) {
  if (!matrix) return 0;
  // av_display_rotation_get answers counterclockwise degrees; standing up turns the other way.
  const double degrees = av_display_rotation_get(matrix);
  if (std::isnan(degrees)) return 0;
  const long quarters = std::lround(-degrees / 90.0);
  return static_cast<int>(((quarters % 4) + 4) % 4);
}

bool ClipPictureConverter::prepare(const Key& key) {
  if (scaler_ && key == key_) return true;
  const bool scaled = key.width != key.outWidth || key.height != key.outHeight;
  // Unscaled conversions take swscale's fast paths; scaled ones a bilinear filter.
  scaler_.reset(sws_getContext(key.width, key.height, static_cast<AVPixelFormat>(key.format), key.outWidth,
                               key.outHeight, AV_PIX_FMT_BGRA, scaled ? SWS_BILINEAR : SWS_POINT, nullptr, nullptr,
                               nullptr));
  if (!scaler_) return false;
  describeSourceColours(scaler_.get(), static_cast<AVPixelFormat>(key.format),
                        static_cast<AVColorSpace>(key.colorspace), key.fullRange);
  premultiplies_ = hasAlpha(static_cast<AVPixelFormat>(key.format));
  key_ = key;
  const bool sideways = rotation_ & 1;
  const int pooledWidth = sideways ? key.outHeight : key.outWidth;
  const int pooledHeight = sideways ? key.outWidth : key.outHeight;
  if (!pool_ || pool_->width() != pooledWidth || pool_->height() != pooledHeight) {
    pool_ = std::make_unique<PixelBufferPool>(pooledWidth, pooledHeight, PixelBufferPool::kMinimumBufferCount,
                                              kMaximumPooledBuffers);
  }
  unturned_ = rotation_ ? PixelBuffer::make(key.outWidth, key.outHeight) : nullptr;
  return !rotation_ || unturned_;
}

PixelBufferRef ClipPictureConverter::convert(const AVFrame& frame) {
  if (frame.width <= 0 || frame.height <= 0) return nullptr;
  Key key;
  key.fullRange = frame.color_range == AVCOL_RANGE_JPEG;
  key.format = withoutJpegRange(static_cast<AVPixelFormat>(frame.format), key.fullRange);
  key.width = frame.width;
  key.height = frame.height;
  // Streams that say nothing: SD is BT.601, HD BT.709.
  key.colorspace = frame.colorspace != AVCOL_SPC_UNSPECIFIED ? frame.colorspace
                   : frame.height < 720                      ? AVCOL_SPC_SMPTE170M
                                                             : AVCOL_SPC_BT709;
  // The upright picture fits 1920 by 1080; the scaler works before the turn.
  const bool sideways = rotation_ & 1;
  const ImagePixelSize fitted = sideways ? fittedImageSize(frame.height, frame.width, 1920, 1080)
                                         : fittedImageSize(frame.width, frame.height, 1920, 1080);
  key.outWidth = sideways ? fitted.height : fitted.width;
  key.outHeight = sideways ? fitted.width : fitted.height;
  if (!prepare(key)) return nullptr;

  PixelBufferRef out = pool_->acquire();
  if (!out) return nullptr;
  PixelBuffer& target = rotation_ ? *unturned_ : *out;
  std::uint8_t* planes[4] = {target.data(), nullptr, nullptr, nullptr};
  const int strides[4] = {static_cast<int>(target.bytesPerRow()), 0, 0, 0};
  if (sws_scale(scaler_.get(), frame.data, frame.linesize, 0, frame.height, planes, strides) != key.outHeight) {
    return nullptr;
  }
  if (premultiplies_) premultiply(target);
  if (rotation_) turn(*unturned_, *out, rotation_);
  return out;
}

}  // namespace tavorin

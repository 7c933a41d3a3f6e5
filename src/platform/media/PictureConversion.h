#pragma once

extern "C" {
#include <libavutil/pixfmt.h>
}

#include "base/PixelBuffer.h"

struct SwsContext;

namespace tavorin {

// Helpers every FFmpeg picture path shares on its way to premultiplied BGRA.

// The JPEG variants of the YUV formats mean full range; swscale wants the
// plain format and the range said apart, so `fullRange` is set for them.
AVPixelFormat withoutJpegRange(AVPixelFormat format, bool& fullRange);

// True for formats that carry an alpha channel, which FFmpeg delivers straight.
bool hasAlpha(AVPixelFormat format);

// Tells `scaler` how the source's YUV is coded; RGB sources are left alone.
void describeSourceColours(SwsContext* scaler, AVPixelFormat format, AVColorSpace matrix, bool fullRange);

// Straight BGRA to premultiplied, in place.
void premultiply(PixelBuffer& buffer);

}  // namespace tavorin

#include "platform/media/PictureConversion.h"

#include <cstdint>

extern "C" {
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace tavorin {

namespace {

inline std::uint8_t multiplyBy255ths(unsigned value, unsigned alpha) {
  const unsigned t = value * alpha + 128;
  return static_cast<std::uint8_t>((t + (t >> 8)) >> 8);
}

}  // namespace

AVPixelFormat withoutJpegRange(AVPixelFormat format, bool& fullRange) {
  switch (format) {
    case AV_PIX_FMT_YUVJ420P: fullRange = true; return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P: fullRange = true; return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P: fullRange = true; return AV_PIX_FMT_YUV444P;
    case AV_PIX_FMT_YUVJ440P: fullRange = true; return AV_PIX_FMT_YUV440P;
    case AV_PIX_FMT_YUVJ411P: fullRange = true; return AV_PIX_FMT_YUV411P;
    default: return format;
  }
}

bool hasAlpha(AVPixelFormat format) {
  const AVPixFmtDescriptor* desc = av_pix_fmt_desc_get(format);
  return desc && (desc->flags & AV_PIX_FMT_FLAG_ALPHA);
}

void describeSourceColours(SwsContext* scaler, AVPixelFormat format, AVColorSpace matrix, bool fullRange) {
  const AVPixFmtDescriptor* desc = av_pix_fmt_desc_get(format);
  const bool yuv = desc && !(desc->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) && desc->nb_components >= 3;
  if (!yuv) return;
  int colorspace = SWS_CS_DEFAULT;
  if (matrix == AVCOL_SPC_BT709) colorspace = SWS_CS_ITU709;
  if (matrix == AVCOL_SPC_BT2020_NCL || matrix == AVCOL_SPC_BT2020_CL) colorspace = SWS_CS_BT2020;
  sws_setColorspaceDetails(scaler, sws_getCoefficients(colorspace), fullRange ? 1 : 0,
                           sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, 1 << 16, 1 << 16);
}

void premultiply(PixelBuffer& buffer) {
  for (int y = 0; y < buffer.height(); ++y) {
    std::uint8_t* px = buffer.row(y);
    for (int x = 0; x < buffer.width(); ++x, px += 4) {
      const unsigned alpha = px[3];
      if (alpha == 255) continue;
      px[0] = multiplyBy255ths(px[0], alpha);
      px[1] = multiplyBy255ths(px[1], alpha);
      px[2] = multiplyBy255ths(px[2], alpha);
    }
  }
}

}  // namespace tavorin

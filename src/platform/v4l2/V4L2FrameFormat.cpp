#include "platform/v4l2/V4L2FrameFormat.h"

namespace tavorin {

std::optional<CameraPixelFormat> cameraPixelFormatOf(std::uint32_t fourcc) {
  switch (fourcc) {
    case V4L2_PIX_FMT_YUYV: return CameraPixelFormat::yuyv;
    case V4L2_PIX_FMT_NV12: return CameraPixelFormat::nv12;
    case V4L2_PIX_FMT_YUV420: return CameraPixelFormat::i420;
    case V4L2_PIX_FMT_MJPEG: return CameraPixelFormat::mjpeg;
    // Both lie in memory as B, G, R, padding.
    case V4L2_PIX_FMT_BGR32:
    case V4L2_PIX_FMT_XBGR32: return CameraPixelFormat::bgrx;
    default: return std::nullopt;
  }
}

CameraFrameFormat cameraFrameFormatOf(const v4l2_pix_format& pix) {
  CameraFrameFormat format;
  format.pixelFormat = cameraPixelFormatOf(pix.pixelformat).value_or(CameraPixelFormat::yuyv);
  format.width = static_cast<int>(pix.width);
  format.height = static_cast<int>(pix.height);
  // A driver that leaves the colorspace unset says nothing; the size rule decides then.
  if (pix.colorspace == V4L2_COLORSPACE_DEFAULT) return format;
  const auto colorspace = static_cast<v4l2_colorspace>(pix.colorspace);
  auto encoding = static_cast<v4l2_ycbcr_encoding>(pix.ycbcr_enc);
  if (encoding == V4L2_YCBCR_ENC_DEFAULT) encoding = V4L2_MAP_YCBCR_ENC_DEFAULT(colorspace);
  if (encoding == V4L2_YCBCR_ENC_601 || encoding == V4L2_YCBCR_ENC_XV601) format.matrix = ColourMatrix::bt601;
  if (encoding == V4L2_YCBCR_ENC_709 || encoding == V4L2_YCBCR_ENC_XV709) format.matrix = ColourMatrix::bt709;
  auto quantization = static_cast<v4l2_quantization>(pix.quantization);
  if (quantization == V4L2_QUANTIZATION_DEFAULT) {
    quantization = V4L2_MAP_QUANTIZATION_DEFAULT(false, colorspace, encoding);
  }
  format.range = quantization == V4L2_QUANTIZATION_FULL_RANGE ? ColourRange::full : ColourRange::limited;
  return format;
}

}  // namespace tavorin

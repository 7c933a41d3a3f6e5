#pragma once

#include <linux/videodev2.h>

#include <cstdint>
#include <optional>

#include "platform/media/CameraFrameFormat.h"

namespace tavorin {

// The converter's name for a V4L2 fourcc; nothing for formats we do not convert.
std::optional<CameraPixelFormat> cameraPixelFormatOf(std::uint32_t fourcc);

// The pictures a format set with VIDIOC_S_FMT delivers: kind, size, and the
// matrix and range its colorspace, ycbcr_enc and quantization fields imply.
CameraFrameFormat cameraFrameFormatOf(const v4l2_pix_format& format);

}  // namespace tavorin

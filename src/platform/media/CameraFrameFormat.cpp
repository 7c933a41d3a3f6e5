#include "platform/media/CameraFrameFormat.h"

namespace tavorin {

CameraFramePlanes contiguousPlanes(const CameraFrameFormat& format, const std::uint8_t* data, std::size_t size,
                                   int stride) {
  CameraFramePlanes planes;
  planes.data[0] = data;
  planes.stride[0] = stride;
  planes.size = size;
  const std::size_t lumaBytes = static_cast<std::size_t>(stride) * static_cast<std::size_t>(format.height);
  switch (format.pixelFormat) {
    case CameraPixelFormat::nv12:
      planes.data[1] = data + lumaBytes;
      planes.stride[1] = stride;
      break;
    case CameraPixelFormat::i420: {
      const std::size_t chromaBytes = static_cast<std::size_t>(stride / 2) * static_cast<std::size_t>(format.height / 2);
      planes.data[1] = data + lumaBytes;
      planes.data[2] = data + lumaBytes + chromaBytes;
      planes.stride[1] = planes.stride[2] = stride / 2;
      break;
    }
    default:
      break;
  }
  return planes;
}

}  // namespace tavorin

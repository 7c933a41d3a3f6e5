#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace tavorin {

// The raw picture kinds cameras hand over, in the system's own terms.
enum class CameraPixelFormat { yuyv, nv12, i420, bgrx, rgbx, bgra, mjpeg };

enum class ColourMatrix { unspecified, bt601, bt709 };
enum class ColourRange { unspecified, limited, full };

// What one camera stream delivers: its pictures' kind, size and colours as the
// device describes them. Unspecified colours follow the usual rule: BT.601
// below 720 lines, BT.709 from there, limited range.
struct CameraFrameFormat {
  CameraPixelFormat pixelFormat = CameraPixelFormat::yuyv;
  int width = 0;
  int height = 0;
  ColourMatrix matrix = ColourMatrix::unspecified;
  ColourRange range = ColourRange::unspecified;
  friend bool operator==(const CameraFrameFormat&, const CameraFrameFormat&) = default;
};

// Where one raw picture lies in memory. Planar formats have a pointer and a
// row stride per plane; a compressed picture has one pointer and its size.
struct CameraFramePlanes {
  std::array<const std::uint8_t*, 3> data{};
  std::array<int, 3> stride{};
  std::size_t size = 0;
};

// The planes of a picture stored in one block, each plane right after the
// previous, as V4L2's single-planar formats lay them out. `stride` is the
// first plane's row stride; the chroma planes of I420 take half of it.
CameraFramePlanes contiguousPlanes(const CameraFrameFormat& format, const std::uint8_t* data, std::size_t size,
                                   int stride);

}  // namespace tavorin

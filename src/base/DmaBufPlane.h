#pragma once

#include <cstdint>

namespace tavorin {

// DRM formats of the planes a VA surface exports, as drm_fourcc.h codes them.
inline constexpr std::uint32_t drmFourcc(char a, char b, char c, char d) {
  return static_cast<std::uint32_t>(static_cast<unsigned char>(a)) |
         static_cast<std::uint32_t>(static_cast<unsigned char>(b)) << 8 |
         static_cast<std::uint32_t>(static_cast<unsigned char>(c)) << 16 |
         static_cast<std::uint32_t>(static_cast<unsigned char>(d)) << 24;
}
inline constexpr std::uint32_t kDrmFormatR8 = drmFourcc('R', '8', ' ', ' ');    // NV12 luma
inline constexpr std::uint32_t kDrmFormatGR88 = drmFourcc('G', 'R', '8', '8');  // NV12 Cb, Cr pairs
// DRM_FORMAT_MOD_INVALID: the buffer's layout is left to the driver to know.
inline constexpr std::uint64_t kDrmModifierNone = 0x00ffffffffffffffull;

// One plane of a dma-buf, as a mapping of a VA surface to DRM PRIME describes
// it (an AVDRMFrameDescriptor's object fd and modifier with one layer's plane).
struct DmaBufPlane {
  int fd = -1;                              // owned by whoever filled this in
  std::uint32_t offset = 0;                 // bytes from the start of the buffer
  std::uint32_t pitch = 0;                  // bytes per row
  std::uint64_t modifier = kDrmModifierNone;  // tiling, as the exporter states it
  std::uint32_t fourcc = 0;                 // kDrmFormatR8 or kDrmFormatGR88
  int width = 0;                            // in texels of `fourcc`
  int height = 0;
  friend bool operator==(const DmaBufPlane&, const DmaBufPlane&) = default;
};

// An NV12 surface to draw into: its two planes, which the exporter gives as
// separate R8 and GR88 layers.
struct Nv12DmaBuf {
  // Names the memory: the same value means the same surface again, whose
  // import is kept, even when its descriptors come with new fds.
  std::uint64_t surface = 0;
  DmaBufPlane luma;
  DmaBufPlane chroma;
  friend bool operator==(const Nv12DmaBuf&, const Nv12DmaBuf&) = default;
};

}  // namespace tavorin

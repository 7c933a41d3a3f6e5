#pragma once

#include <cstdint>
#include <vector>

#include "platform/media/VideoEncoding.h"

namespace tavorin {

// What a decoder needs before the first sample: a change of any field means
// a new sequence header on the wire and a new track in a file.
struct VideoFormatDescription {
  VideoCodecKind codec = VideoCodecKind::h264;
  int width = 0;
  int height = 0;
  // The decoder configuration record (ISO/IEC 14496-15): avcC for H.264,
  // hvcC for HEVC; empty for an intra codec that needs none.
  std::vector<std::uint8_t> configurationRecord;

  bool operator==(const VideoFormatDescription&) const = default;
};

}  // namespace tavorin

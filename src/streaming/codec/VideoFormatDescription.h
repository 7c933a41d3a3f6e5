#pragma once

#include <cstdint>
#include <vector>

#include "streaming/codec/VideoCodecSettings.h"

namespace tavorin {

// What a decoder needs before the first sample: a change of any field means
// a new sequence header on the wire.
struct VideoFormatDescription {
  VideoCodecSettings::Format format = VideoCodecSettings::Format::h264;
  int width = 0;
  int height = 0;
  // The AVCDecoderConfigurationRecord (ISO/IEC 14496-15) for H.264.
  std::vector<std::uint8_t> avcC;

  bool operator==(const VideoFormatDescription&) const = default;
};

}  // namespace tavorin

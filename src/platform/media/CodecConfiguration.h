#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tavorin {

// The HEVCDecoderConfigurationRecord (hvcC) for the VPS, SPS and PPS in
// `parameterSets` (Annex B), as FFmpeg's own MP4 writer makes it; nothing
// when they do not describe a stream.
std::optional<std::vector<std::uint8_t>> hevcConfigurationRecord(std::span<const std::uint8_t> parameterSets,
                                                                 int width, int height);

}  // namespace tavorin

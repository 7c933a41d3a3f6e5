#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tavorin {

// Conversions between the Annex B byte stream FFmpeg's encoders write and the
// length-prefixed form (with its configuration record) that FLV carries.
namespace avc {

// The NAL units of an Annex B stream, start codes removed.
std::vector<std::span<const std::uint8_t>> splitAnnexB(std::span<const std::uint8_t> stream);

// Each NAL unit behind a 4-byte big-endian length.
std::vector<std::uint8_t> annexBToLengthPrefixed(std::span<const std::uint8_t> stream);

// An AVCDecoderConfigurationRecord from the first SPS and PPS found in
// `parameterSets` (Annex B); nothing when either is missing.
std::optional<std::vector<std::uint8_t>> makeDecoderConfigurationRecord(std::span<const std::uint8_t> parameterSets);

}  // namespace avc
}  // namespace tavorin

#pragma once

#include <array>
#include <cstdint>
#include <optional>

namespace tavorin {

// The encoded audio a stream sends: a change means a new sequence header.
struct AudioFormatDescription {
  int sampleRate = 48000;
  int channels = 2;
  // MPEG-4 audio object type; 2 is AAC-LC.
  int objectType = 2;

  bool operator==(const AudioFormatDescription&) const = default;
};

// The 2-byte AudioSpecificConfig (ISO/IEC 14496-3) of the format; nothing for
// a rate or channel count it has no code for.
std::optional<std::array<std::uint8_t, 2>> audioSpecificConfig(const AudioFormatDescription& format);

}  // namespace tavorin

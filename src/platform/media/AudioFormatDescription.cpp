#include "platform/media/AudioFormatDescription.h"

namespace tavorin {

std::optional<std::array<std::uint8_t, 2>> audioSpecificConfig(const AudioFormatDescription& format) {
  static constexpr int kRates[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                   22050, 16000, 12000, 11025, 8000,  7350};
  int index = -1;
  for (int i = 0; i < static_cast<int>(std::size(kRates)); ++i) {
    if (kRates[i] == format.sampleRate) index = i;
  }
  if (index < 0 || format.channels < 1 || format.channels > 7 || format.objectType < 1 || format.objectType > 30) {
    return std::nullopt;
  }
  // 5 bits object type, 4 bits rate index, 4 bits channel configuration, 3 zero bits.
  const unsigned bits = (static_cast<unsigned>(format.objectType) << 11) | (static_cast<unsigned>(index) << 7) |
                        (static_cast<unsigned>(format.channels) << 3);
  return std::array<std::uint8_t, 2>{static_cast<std::uint8_t>(bits >> 8), static_cast<std::uint8_t>(bits & 0xFF)};
}

}  // namespace tavorin

#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/media/VideoEncoding.h"

namespace tavorin {

// What a stream asks of its audio encoder. Only `aac` is encoded.
struct AudioCodecSettings {
  enum class Format { aac, opus, pcm };

  std::int64_t bitRate = 64000;
  // Lets a converter with fewer output than input channels mix them down.
  bool downmix = true;
  // Output channel i takes input channel channelMap[i]; -1 is silence.
  std::optional<std::vector<int>> channelMap;
  // 0 takes the input's rate.
  double sampleRate = 0;
  Format format = Format::aac;

  bool operator==(const AudioCodecSettings&) const = default;

  AudioEncoding encoding() const {
    return AudioEncoding{bitRate, static_cast<int>(sampleRate), downmix, channelMap};
  }
};

}  // namespace tavorin

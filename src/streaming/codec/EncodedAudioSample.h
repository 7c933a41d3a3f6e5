#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "streaming/codec/AudioFormatDescription.h"

namespace tavorin {

// One encoded AAC packet (1024 frames) as the publisher sends it.
struct EncodedAudioSample {
  // The raw AAC frame, without an ADTS header.
  std::vector<std::uint8_t> data;
  // Host time of the packet's first sample, in seconds.
  double pts = 0;
  std::shared_ptr<const AudioFormatDescription> format;

  bool operator==(const EncodedAudioSample&) const = default;
};

}  // namespace tavorin

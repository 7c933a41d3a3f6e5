#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/media/AudioFormatDescription.h"

namespace tavorin {

// One encoded AAC packet (1024 frames), shared read-only by every output that takes it.
struct EncodedAudioSample {
  // The raw AAC frame, without an ADTS header.
  std::vector<std::uint8_t> data;
  // Host seconds of the packet's first sample.
  double pts = 0;
  std::shared_ptr<const AudioFormatDescription> format;

  bool operator==(const EncodedAudioSample&) const = default;
};

using EncodedAudioSampleRef = std::shared_ptr<const EncodedAudioSample>;

}  // namespace tavorin

#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/media/VideoFormatDescription.h"

namespace tavorin {

// One encoded frame. Made once by its encoder and shared read-only by every
// output that takes it.
struct EncodedVideoSample {
  // H.264/HEVC: NAL units, each behind a 4-byte big-endian length (not Annex B).
  std::vector<std::uint8_t> data;
  // Host seconds: when the frame shows, and when it must be decoded.
  double pts = 0;
  double dts = 0;
  bool isKeyFrame = false;
  // Shared by all samples of one encoder session.
  std::shared_ptr<const VideoFormatDescription> format;

  bool operator==(const EncodedVideoSample&) const = default;
};

using EncodedVideoSampleRef = std::shared_ptr<const EncodedVideoSample>;

}  // namespace tavorin

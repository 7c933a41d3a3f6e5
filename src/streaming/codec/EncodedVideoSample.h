#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "streaming/codec/VideoFormatDescription.h"

namespace tavorin {

// One encoded frame as the publisher sends it.
struct EncodedVideoSample {
  // NAL units, each behind a 4-byte big-endian length (not Annex B).
  std::vector<std::uint8_t> data;
  double pts = 0;
  std::optional<double> dts;
  bool isKeyFrame = false;
  // The format the sample was encoded in; shared by all samples of a session.
  std::shared_ptr<const VideoFormatDescription> format;

  bool operator==(const EncodedVideoSample&) const = default;
};

}  // namespace tavorin

#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/capture/CaptureSize.h"
#include "platform/v4l2/V4L2DeviceIO.h"

namespace tavorin {

// One pixel format at one size, as a device lists it.
struct V4L2FormatOption {
  std::uint32_t pixelFormat = 0;  // V4L2 fourcc
  int width = 0;
  int height = 0;
  double fps = 0;  // the fastest rate it offers; 0 when the device does not say
  friend bool operator==(const V4L2FormatOption&, const V4L2FormatOption&) = default;
};

// The formats of the open device that we can convert, in the device's order.
// A stepwise size range gives its largest size and the largest one within `limits`.
std::vector<V4L2FormatOption> enumerateV4L2Formats(V4L2DeviceIO& io, int fd, CaptureLimits limits);

// Of the sizes within the limits the largest, else the largest of all; the
// first listed wins a tie. At that size an uncompressed format only when it
// reaches 30 fps, else MJPEG: most USB cameras give 1080p only as MJPEG.
std::optional<V4L2FormatOption> chooseV4L2Format(const std::vector<V4L2FormatOption>& options, CaptureLimits limits);

}  // namespace tavorin

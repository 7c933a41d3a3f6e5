#include "platform/v4l2/V4L2FormatChoice.h"

#include <linux/videodev2.h>

#include <algorithm>

#include "platform/v4l2/V4L2FrameFormat.h"

namespace tavorin {
namespace {

constexpr double smoothFps = 30;

double fpsOf(const v4l2_fract& interval) {
  return interval.numerator ? static_cast<double>(interval.denominator) / interval.numerator : 0;
}

double fastestRate(V4L2DeviceIO& io, int fd, std::uint32_t pixelFormat, int width, int height) {
  double fastest = 0;
  v4l2_frmivalenum interval{};
  interval.pixel_format = pixelFormat;
  interval.width = static_cast<std::uint32_t>(width);
  interval.height = static_cast<std::uint32_t>(height);
  for (interval.index = 0; io.ioctl(fd, VIDIOC_ENUM_FRAMEINTERVALS, &interval) >= 0; ++interval.index) {
    if (interval.type != V4L2_FRMIVAL_TYPE_DISCRETE) return fpsOf(interval.stepwise.min);
    fastest = std::max(fastest, fpsOf(interval.discrete));
  }
  return fastest;
}

// The largest size of a stepwise range that fits the limits, on its grid.
int largestStepWithin(std::uint32_t min, std::uint32_t max, std::uint32_t step, int limit) {
  if (static_cast<std::int64_t>(limit) < min) return 0;
  const std::uint32_t top = std::min(max, static_cast<std::uint32_t>(limit));
  return static_cast<int>(step ? top - (top - min) % step : top);
}

}  // namespace

std::vector<V4L2FormatOption> enumerateV4L2Formats(V4L2DeviceIO& io, int fd, CaptureLimits limits) {
  std::vector<V4L2FormatOption> options;
  v4l2_fmtdesc description{};
  description.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  for (description.index = 0; io.ioctl(fd, VIDIOC_ENUM_FMT, &description) >= 0; ++description.index) {
    const std::uint32_t pixelFormat = description.pixelformat;
    if (!cameraPixelFormatOf(pixelFormat)) continue;
    auto add = [&](int width, int height) {
      if (width <= 0 || height <= 0) return;
      options.push_back({pixelFormat, width, height, fastestRate(io, fd, pixelFormat, width, height)});
    };
    v4l2_frmsizeenum size{};
    size.pixel_format = pixelFormat;
    for (size.index = 0; io.ioctl(fd, VIDIOC_ENUM_FRAMESIZES, &size) >= 0; ++size.index) {
      if (size.type == V4L2_FRMSIZE_TYPE_DISCRETE) {
        add(static_cast<int>(size.discrete.width), static_cast<int>(size.discrete.height));
        continue;
      }
      const auto& range = size.stepwise;
      const bool continuous = size.type == V4L2_FRMSIZE_TYPE_CONTINUOUS;
      add(static_cast<int>(range.max_width), static_cast<int>(range.max_height));
      const int width = largestStepWithin(range.min_width, range.max_width, continuous ? 1 : range.step_width,
                                          limits.width);
      const int height = largestStepWithin(range.min_height, range.max_height, continuous ? 1 : range.step_height,
                                           limits.height);
      if (width != static_cast<int>(range.max_width) || height != static_cast<int>(range.max_height)) {
        add(width, height);
      }
      break;  // a range is the only entry
    }
  }
  return options;
}

std::optional<V4L2FormatOption> chooseV4L2Format(const std::vector<V4L2FormatOption>& options, CaptureLimits limits) {
  if (options.empty()) return std::nullopt;
  auto within = [&](const V4L2FormatOption& o) { return o.width <= limits.width && o.height <= limits.height; };
  const bool anyWithin = std::any_of(options.begin(), options.end(), within);
  const V4L2FormatOption* best = nullptr;
  for (const auto& option : options) {
    if (anyWithin && !within(option)) continue;
    const long area = static_cast<long>(option.width) * option.height;
    if (!best || area > static_cast<long>(best->width) * best->height) best = &option;
  }
  const int width = best->width;
  const int height = best->height;
  const V4L2FormatOption* smooth = nullptr;
  const V4L2FormatOption* jpeg = nullptr;
  const V4L2FormatOption* fastest = nullptr;
  for (const auto& option : options) {
    if (option.width != width || option.height != height) continue;
    if (option.pixelFormat == V4L2_PIX_FMT_MJPEG) {
      if (!jpeg) jpeg = &option;
      continue;
    }
    // A device that names no rate gets the benefit of the doubt.
    if (!smooth && (option.fps >= smoothFps || option.fps == 0)) smooth = &option;
    if (!fastest || option.fps > fastest->fps) fastest = &option;
  }
  if (smooth) return *smooth;
  if (jpeg) return *jpeg;
  return *fastest;
}

}  // namespace tavorin

#include "platform/v4l2/V4L2CameraCapture.h"

#include <linux/videodev2.h>
#include <poll.h>

#include <cerrno>
#include <cstring>

#include "base/HostTime.h"
#include "base/ThreadName.h"
#include "platform/capture/CameraErrors.h"
#include "platform/v4l2/V4L2FrameFormat.h"

namespace tavorin {
namespace {

constexpr std::uint32_t bufferCount = 4;
// How long the thread waits for a picture before it looks at the stop flag again.
constexpr int pollMilliseconds = 100;

std::string failed(const char* what, int status) {
  return std::string("Camera could not start: ") + what + " failed (" + std::strerror(-status) + ")";
}

std::string fourccText(std::uint32_t fourcc) {
  std::string text(4, ' ');
  for (int i = 0; i < 4; ++i) text[static_cast<std::size_t>(i)] = static_cast<char>((fourcc >> (8 * i)) & 0xff);
  return text;
}

}  // namespace

V4L2CameraCapture::V4L2CameraCapture(V4L2DeviceIO& io, std::string path, LogCallback log)
    : io_(io), path_(std::move(path)), log_(std::move(log)) {}

V4L2CameraCapture::~V4L2CameraCapture() { stop(); }

std::optional<std::string> V4L2CameraCapture::start(CaptureLimits limits, FrameCallback onFrame,
                                                    StoppedCallback onStopped) {
  std::lock_guard control(controlMutex_);
  if (fd_ >= 0) return std::string("Camera is already streaming.");
  const int fd = io_.open(path_);
  if (fd == -EACCES || fd == -EPERM) return std::string(kCameraAccessDenied);
  if (fd == -EBUSY) return std::string(kCameraBusy);
  if (fd < 0) return "Camera could not be opened: " + path_ + " (" + std::strerror(-fd) + ")";
  fd_ = fd;
  {
    std::lock_guard lock(limitsMutex_);
    limits_ = limits;
  }
  options_ = enumerateV4L2Formats(io_, fd_, limits);
  const auto choice = chooseV4L2Format(options_, limits);
  if (!choice) {
    closeDevice();
    return std::string("Camera offers no picture format Tavorin can read.");
  }
  if (auto error = configure(*choice, false)) {
    closeDevice();
    return error;
  }
  onFrame_ = std::move(onFrame);
  onStopped_ = std::move(onStopped);
  converter_.setLimits(limits);
  startThread();
  return std::nullopt;
}

void V4L2CameraCapture::stop() {
  std::lock_guard control(controlMutex_);
  stopThread();
  closeDevice();
  onFrame_ = nullptr;
  onStopped_ = nullptr;
}

void V4L2CameraCapture::setLimits(CaptureLimits limits) {
  std::lock_guard control(controlMutex_);
  {
    std::lock_guard lock(limitsMutex_);
    limits_ = limits;
  }
  if (fd_ < 0 || !current_) return;
  const auto choice = chooseV4L2Format(options_, limits);
  // The converter alone follows limits that keep the device's format.
  if (!choice || *choice == *current_) return;

  const V4L2FormatOption previous = *current_;
  stopThread();
  releaseBuffers();
  if (auto error = configure(*choice, true)) {
    if (log_) log_(kCameraFormatChangeRejected + *error);
    releaseBuffers();
    if (auto again = configure(previous, false)) {
      if (onStopped_) onStopped_(*again);
      return;
    }
  }
  startThread();
}

std::optional<V4L2FormatOption> V4L2CameraCapture::format() const {
  std::lock_guard lock(limitsMutex_);
  return published_;
}

std::optional<std::string> V4L2CameraCapture::configure(const V4L2FormatOption& option, bool exactSize) {
  v4l2_format format{};
  format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  format.fmt.pix.pixelformat = option.pixelFormat;
  format.fmt.pix.width = static_cast<std::uint32_t>(option.width);
  format.fmt.pix.height = static_cast<std::uint32_t>(option.height);
  format.fmt.pix.field = V4L2_FIELD_ANY;
  if (const int status = io_.ioctl(fd_, VIDIOC_S_FMT, &format); status < 0) {
    return status == -EBUSY ? std::string(kCameraBusy) : failed("VIDIOC_S_FMT", status);
  }
  const v4l2_pix_format& pix = format.fmt.pix;
  const bool sameSize = static_cast<int>(pix.width) == option.width && static_cast<int>(pix.height) == option.height;
  if (exactSize && !sameSize) {
    return "asked for " + fourccText(option.pixelFormat) + " " + std::to_string(option.width) + "x" +
           std::to_string(option.height) + ", got " + std::to_string(pix.width) + "x" + std::to_string(pix.height);
  }
  if (!cameraPixelFormatOf(pix.pixelformat)) return "Camera switched to a format Tavorin cannot read.";

  if (option.fps > 0) {
    // Devices often default to a slower rate than they can do; a refusal leaves theirs.
    v4l2_streamparm parameters{};
    parameters.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    parameters.parm.capture.timeperframe = {1000, static_cast<std::uint32_t>(option.fps * 1000 + 0.5)};
    io_.ioctl(fd_, VIDIOC_S_PARM, &parameters);
  }

  v4l2_requestbuffers request{};
  request.count = bufferCount;
  request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  request.memory = V4L2_MEMORY_MMAP;
  if (const int status = io_.ioctl(fd_, VIDIOC_REQBUFS, &request); status < 0) {
    return status == -EBUSY ? std::string(kCameraBusy) : failed("VIDIOC_REQBUFS", status);
  }
  if (request.count == 0) return std::string("Camera could not start: the device gave no buffers");
  for (std::uint32_t i = 0; i < request.count; ++i) {
    v4l2_buffer buffer{};
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = V4L2_MEMORY_MMAP;
    buffer.index = i;
    if (const int status = io_.ioctl(fd_, VIDIOC_QUERYBUF, &buffer); status < 0) {
      return failed("VIDIOC_QUERYBUF", status);
    }
    void* data = io_.mmap(fd_, buffer.length, buffer.m.offset);
    if (!data) return std::string("Camera could not start: its buffers cannot be mapped");
    buffers_.push_back({data, buffer.length});
    if (const int status = io_.ioctl(fd_, VIDIOC_QBUF, &buffer); status < 0) return failed("VIDIOC_QBUF", status);
  }
  int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  if (const int status = io_.ioctl(fd_, VIDIOC_STREAMON, &type); status < 0) {
    return status == -EBUSY ? std::string(kCameraBusy) : failed("VIDIOC_STREAMON", status);
  }
  frameFormat_ = cameraFrameFormatOf(pix);
  const int bytesPerPixel = frameFormat_.pixelFormat == CameraPixelFormat::yuyv   ? 2
                            : frameFormat_.pixelFormat == CameraPixelFormat::bgrx ? 4
                                                                                   : 1;
  stride_ = pix.bytesperline ? static_cast<int>(pix.bytesperline) : frameFormat_.width * bytesPerPixel;
  current_ = V4L2FormatOption{pix.pixelformat, static_cast<int>(pix.width), static_cast<int>(pix.height), option.fps};
  std::lock_guard lock(limitsMutex_);
  published_ = current_;
  return std::nullopt;
}

void V4L2CameraCapture::releaseBuffers() {
  if (fd_ < 0) return;
  int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  io_.ioctl(fd_, VIDIOC_STREAMOFF, &type);
  for (const auto& buffer : buffers_) io_.munmap(buffer.data, buffer.length);
  buffers_.clear();
  v4l2_requestbuffers none{};
  none.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  none.memory = V4L2_MEMORY_MMAP;
  io_.ioctl(fd_, VIDIOC_REQBUFS, &none);
  current_.reset();
  std::lock_guard lock(limitsMutex_);
  published_.reset();
}

void V4L2CameraCapture::closeDevice() {
  if (fd_ < 0) return;
  releaseBuffers();
  io_.close(fd_);
  fd_ = -1;
  options_.clear();
}

void V4L2CameraCapture::startThread() {
  stopping_ = false;
  thread_ = std::thread([this] { run(); });
}

void V4L2CameraCapture::stopThread() {
  if (!thread_.joinable()) return;
  stopping_ = true;
  thread_.join();
}

void V4L2CameraCapture::run() {
  nameThisThread("Tavorin.Camera");
  while (!stopping_) {
    short revents = 0;
    const int ready = io_.poll(fd_, POLLIN, revents, pollMilliseconds);
    if (ready == -EINTR || ready == 0) continue;
    const Drained drained = ready < 0 ? Drained::gone : drainAndConvert();
    // POLLERR with nothing to dequeue: the device is no more.
    const bool failing = revents & (POLLERR | POLLHUP | POLLNVAL);
    if (drained == Drained::gone || (drained == Drained::nothing && failing)) {
      if (onStopped_) onStopped_(kCameraDisconnected);
      return;
    }
  }
}

V4L2CameraCapture::Drained V4L2CameraCapture::drainAndConvert() {
  std::optional<v4l2_buffer> newest;
  for (;;) {
    v4l2_buffer buffer{};
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = V4L2_MEMORY_MMAP;
    const int status = io_.ioctl(fd_, VIDIOC_DQBUF, &buffer);
    if (status == -EAGAIN) break;
    if (status == -EINTR) continue;
    if (status < 0) {
      if (newest) requeue(newest->index);
      return status == -ENODEV || status == -EIO ? Drained::gone : Drained::nothing;
    }
    if (buffer.index >= buffers_.size()) continue;
    if (buffer.flags & V4L2_BUF_FLAG_ERROR) {
      requeue(buffer.index);
      continue;
    }
    if (newest) requeue(newest->index);
    newest = buffer;
  }
  if (!newest) return Drained::nothing;

  const bool monotonic =
      (newest->flags & V4L2_BUF_FLAG_TIMESTAMP_MASK) == V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC &&
      (newest->timestamp.tv_sec != 0 || newest->timestamp.tv_usec != 0);
  const double hostTime = monotonic ? static_cast<double>(newest->timestamp.tv_sec) +
                                          static_cast<double>(newest->timestamp.tv_usec) * 1e-6
                                    : hostTimeNow();
  {
    std::lock_guard lock(limitsMutex_);
    converter_.setLimits(limits_);
  }
  const auto* data = static_cast<const std::uint8_t*>(buffers_[newest->index].data);
  const std::size_t used = std::min<std::size_t>(newest->bytesused, buffers_[newest->index].length);
  PixelBufferRef frame = converter_.convert(frameFormat_, contiguousPlanes(frameFormat_, data, used, stride_), hostTime);
  requeue(newest->index);
  if (frame && onFrame_) onFrame_(std::move(frame));
  return Drained::converted;
}

void V4L2CameraCapture::requeue(std::uint32_t index) {
  v4l2_buffer buffer{};
  buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  buffer.memory = V4L2_MEMORY_MMAP;
  buffer.index = index;
  io_.ioctl(fd_, VIDIOC_QBUF, &buffer);
}

}  // namespace tavorin

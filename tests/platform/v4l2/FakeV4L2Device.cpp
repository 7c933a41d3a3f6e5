#include "platform/v4l2/FakeV4L2Device.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <thread>

namespace tavorin::testing {
namespace {

void copyText(__u8* field, std::size_t size, const std::string& text) {
  std::strncpy(reinterpret_cast<char*>(field), text.c_str(), size - 1);
}

}  // namespace

void FakeV4L2Device::addNode(const std::string& path, FakeNode node) {
  std::lock_guard lock(mutex_);
  nodes_[path] = std::move(node);
}

void FakeV4L2Device::change(const std::string& path, const std::function<void(FakeNode&)>& edit) {
  std::lock_guard lock(mutex_);
  edit(nodes_.at(path));
}

bool FakeV4L2Device::makeReady(int count,
                               const std::function<void(int, std::uint8_t*, std::size_t)>& fill,
                               double firstTime) {
  std::lock_guard lock(mutex_);
  if (static_cast<int>(queued_.size()) < count) return false;
  for (int i = 0; i < count; ++i) {
    const std::uint32_t index = queued_.front();
    queued_.pop_front();
    auto& bytes = buffers_[index];
    fill(i, bytes.data(), format_.sizeimage);
    v4l2_buffer buffer{};
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = V4L2_MEMORY_MMAP;
    buffer.index = index;
    buffer.bytesused = format_.sizeimage;
    buffer.flags = V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC;
    const double time = firstTime + i / 30.0;
    buffer.timestamp.tv_sec = static_cast<long>(time);
    buffer.timestamp.tv_usec = std::lround((time - std::floor(time)) * 1e6);
    ready_.push_back(buffer);
  }
  return true;
}

void FakeV4L2Device::unplug() {
  std::lock_guard lock(mutex_);
  unplugged_ = true;
}

int FakeV4L2Device::queuedCount() const {
  std::lock_guard lock(mutex_);
  return static_cast<int>(queued_.size());
}

std::vector<std::uint32_t> FakeV4L2Device::requeued() const {
  std::lock_guard lock(mutex_);
  return requeued_;
}

v4l2_pix_format FakeV4L2Device::currentFormat() const {
  std::lock_guard lock(mutex_);
  return format_;
}

bool FakeV4L2Device::streaming() const {
  std::lock_guard lock(mutex_);
  return streaming_;
}

int FakeV4L2Device::open(const std::string& path) {
  std::lock_guard lock(mutex_);
  const auto node = nodes_.find(path);
  if (node == nodes_.end()) return -ENOENT;
  if (node->second.openError) return -node->second.openError;
  open_[nextFd_] = path;
  return nextFd_++;
}

void FakeV4L2Device::close(int fd) {
  std::lock_guard lock(mutex_);
  open_.erase(fd);
}

int FakeV4L2Device::ioctl(int fd, unsigned long request, void* argument) {
  std::lock_guard lock(mutex_);
  const auto path = open_.find(fd);
  if (path == open_.end()) return -EBADF;
  return control(nodes_.at(path->second), request, argument);
}

int FakeV4L2Device::control(const FakeNode& node, unsigned long request, void* argument) {
  switch (request) {
    case VIDIOC_QUERYCAP: {
      auto& caps = *static_cast<v4l2_capability*>(argument);
      copyText(caps.driver, sizeof caps.driver, node.driver);
      copyText(caps.card, sizeof caps.card, node.card);
      copyText(caps.bus_info, sizeof caps.bus_info, node.busInfo);
      caps.device_caps = node.deviceCaps;
      caps.capabilities = node.deviceCaps | V4L2_CAP_DEVICE_CAPS;
      return 0;
    }
    case VIDIOC_ENUM_FMT: {
      auto& description = *static_cast<v4l2_fmtdesc*>(argument);
      std::vector<std::uint32_t> fourccs;
      for (const auto& format : node.formats) {
        if (std::find(fourccs.begin(), fourccs.end(), format.fourcc) == fourccs.end()) fourccs.push_back(format.fourcc);
      }
      if (description.index >= fourccs.size()) return -EINVAL;
      description.pixelformat = fourccs[description.index];
      return 0;
    }
    case VIDIOC_ENUM_FRAMESIZES: {
      auto& size = *static_cast<v4l2_frmsizeenum*>(argument);
      std::uint32_t seen = 0;
      for (const auto& format : node.formats) {
        if (format.fourcc != size.pixel_format || seen++ != size.index) continue;
        size.type = V4L2_FRMSIZE_TYPE_DISCRETE;
        size.discrete = {static_cast<std::uint32_t>(format.width), static_cast<std::uint32_t>(format.height)};
        return 0;
      }
      return -EINVAL;
    }
    case VIDIOC_ENUM_FRAMEINTERVALS: {
      auto& interval = *static_cast<v4l2_frmivalenum*>(argument);
      for (const auto& format : node.formats) {
        if (format.fourcc != interval.pixel_format || format.width != static_cast<int>(interval.width) ||
            format.height != static_cast<int>(interval.height)) {
          continue;
        }
        if (interval.index >= format.rates.size()) return -EINVAL;
        interval.type = V4L2_FRMIVAL_TYPE_DISCRETE;
        interval.discrete = {1000, static_cast<std::uint32_t>(format.rates[interval.index] * 1000)};
        return 0;
      }
      return -EINVAL;
    }
    case VIDIOC_S_FMT: {
      if (node.setFormatError) return -node.setFormatError;
      auto& pix = static_cast<v4l2_format*>(argument)->fmt.pix;
      const bool listed = std::any_of(node.formats.begin(), node.formats.end(), [&](const FakeFormat& f) {
        return !f.refused && f.fourcc == pix.pixelformat && f.width == static_cast<int>(pix.width) &&
               f.height == static_cast<int>(pix.height);
      });
      // Like a driver, an unknown size falls back to the first one listed.
      if (!listed) {
        pix.pixelformat = node.formats.front().fourcc;
        pix.width = static_cast<std::uint32_t>(node.formats.front().width);
        pix.height = static_cast<std::uint32_t>(node.formats.front().height);
      }
      const bool jpeg = pix.pixelformat == V4L2_PIX_FMT_MJPEG;
      pix.bytesperline = jpeg ? 0 : pix.width * 2;
      pix.sizeimage = pix.width * pix.height * 2;
      pix.colorspace = jpeg ? V4L2_COLORSPACE_JPEG : V4L2_COLORSPACE_SRGB;
      format_ = pix;
      return 0;
    }
    case VIDIOC_S_PARM:
      return 0;
    case VIDIOC_REQBUFS: {
      auto& request = *static_cast<v4l2_requestbuffers*>(argument);
      if (streaming_) return -EBUSY;
      buffers_.assign(request.count, std::vector<std::uint8_t>(format_.sizeimage));
      dequeued_.assign(request.count, false);
      queued_.clear();
      ready_.clear();
      return 0;
    }
    case VIDIOC_QUERYBUF: {
      auto& buffer = *static_cast<v4l2_buffer*>(argument);
      if (buffer.index >= buffers_.size()) return -EINVAL;
      buffer.length = format_.sizeimage;
      buffer.m.offset = static_cast<std::uint32_t>(buffer.index * bufferSpacing);
      return 0;
    }
    case VIDIOC_QBUF: {
      const auto index = static_cast<v4l2_buffer*>(argument)->index;
      if (index >= buffers_.size()) return -EINVAL;
      if (dequeued_[index]) requeued_.push_back(index);
      dequeued_[index] = false;
      queued_.push_back(index);
      return 0;
    }
    case VIDIOC_DQBUF: {
      if (unplugged_) return -ENODEV;
      if (ready_.empty()) return -EAGAIN;
      *static_cast<v4l2_buffer*>(argument) = ready_.front();
      dequeued_[ready_.front().index] = true;
      ready_.pop_front();
      return 0;
    }
    case VIDIOC_STREAMON:
      if (node.streamOnError) return -node.streamOnError;
      streaming_ = true;
      return 0;
    case VIDIOC_STREAMOFF:
      streaming_ = false;
      for (const auto& buffer : ready_) queued_.push_back(buffer.index);
      ready_.clear();
      return 0;
    default:
      return -ENOTTY;
  }
}

void* FakeV4L2Device::mmap(int, std::size_t, std::int64_t offset) {
  std::lock_guard lock(mutex_);
  const auto index = static_cast<std::size_t>(offset / bufferSpacing);
  return index < buffers_.size() ? buffers_[index].data() : nullptr;
}

void FakeV4L2Device::munmap(void*, std::size_t) {}

int FakeV4L2Device::poll(int, short, short& revents, int) {
  {
    std::lock_guard lock(mutex_);
    if (unplugged_) {
      revents = POLLERR;
      return 1;
    }
    if (!ready_.empty()) {
      revents = POLLIN;
      return 1;
    }
  }
  // The capture waits on its own; a short nap keeps the fake from spinning.
  std::this_thread::sleep_for(std::chrono::milliseconds(2));
  revents = 0;
  return 0;
}

}  // namespace tavorin::testing

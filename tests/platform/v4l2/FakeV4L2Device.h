#pragma once

#include <linux/videodev2.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "platform/v4l2/V4L2DeviceIO.h"

namespace tavorin::testing {

// A format a fake node lists: one size, its frame rates.
struct FakeFormat {
  std::uint32_t fourcc = V4L2_PIX_FMT_YUYV;
  int width = 640;
  int height = 480;
  std::vector<double> rates{30};
  bool refused = false;  // listed, but VIDIOC_S_FMT answers with another size
};

struct FakeNode {
  std::string driver = "uvcvideo";
  std::string card = "Fake Camera";
  std::string busInfo = "usb-0000:00:14.0-1";
  std::uint32_t deviceCaps = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
  std::vector<FakeFormat> formats{FakeFormat{}};
  int openError = 0;       // errno open() fails with
  int setFormatError = 0;  // errno VIDIOC_S_FMT fails with
  int streamOnError = 0;   // errno VIDIOC_STREAMON fails with
};

// V4L2 nodes scripted by the test, streaming mmap buffers the test fills and
// marks ready. Thread-safe: the capture thread and the test both call it.
class FakeV4L2Device final : public V4L2DeviceIO {
 public:
  void addNode(const std::string& path, FakeNode node);
  // Changes a node from then on (errors for the next call, say).
  void change(const std::string& path, const std::function<void(FakeNode&)>& edit);

  // Fills the next `count` queued buffers in queue order (the fill gets each
  // one's position among them) and makes them ready together; false when
  // fewer are queued. Timestamps are monotonic, `firstTime` then a frame apart.
  bool makeReady(int count, const std::function<void(int position, std::uint8_t* data, std::size_t length)>& fill,
                 double firstTime);
  // The device is unplugged: poll reports POLLERR and DQBUF ENODEV.
  void unplug();

  int queuedCount() const;
  std::vector<std::uint32_t> requeued() const;  // buffer indices given back after DQBUF, in order
  v4l2_pix_format currentFormat() const;
  bool streaming() const;

  int open(const std::string& path) override;
  void close(int fd) override;
  int ioctl(int fd, unsigned long request, void* argument) override;
  void* mmap(int fd, std::size_t length, std::int64_t offset) override;
  void munmap(void* address, std::size_t length) override;
  int poll(int fd, short events, short& revents, int timeoutMilliseconds) override;

 private:
  static constexpr std::int64_t bufferSpacing = 1 << 24;

  int control(const FakeNode& node, unsigned long request, void* argument);

  mutable std::mutex mutex_;
  std::map<std::string, FakeNode> nodes_;
  std::map<int, std::string> open_;
  int nextFd_ = 100;
  v4l2_pix_format format_{};
  std::vector<std::vector<std::uint8_t>> buffers_;
  std::deque<std::uint32_t> queued_;
  std::deque<v4l2_buffer> ready_;
  std::vector<std::uint32_t> requeued_;
  std::vector<bool> dequeued_;
  bool streaming_ = false;
  bool unplugged_ = false;
};

}  // namespace tavorin::testing

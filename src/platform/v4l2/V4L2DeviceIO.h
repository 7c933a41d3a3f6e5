#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace tavorin {

// The system calls a V4L2 camera needs, so tests can put a scripted device
// behind them. Failures come back as -errno rather than through errno.
class V4L2DeviceIO {
 public:
  virtual ~V4L2DeviceIO() = default;

  // Opens read-write and non-blocking: a file descriptor, or -errno.
  virtual int open(const std::string& path) = 0;
  virtual void close(int fd) = 0;
  // The ioctl's own result when it succeeds, else -errno.
  virtual int ioctl(int fd, unsigned long request, void* argument) = 0;
  // Null when the buffer cannot be mapped.
  virtual void* mmap(int fd, std::size_t length, std::int64_t offset) = 0;
  virtual void munmap(void* address, std::size_t length) = 0;
  // As poll(2) for one descriptor: above 0 with `revents` set, 0 on time-out, -errno.
  virtual int poll(int fd, short events, short& revents, int timeoutMilliseconds) = 0;
};

// The kernel's own.
V4L2DeviceIO& systemV4L2DeviceIO();

}  // namespace tavorin

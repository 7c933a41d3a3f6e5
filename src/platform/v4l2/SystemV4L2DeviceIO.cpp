#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

#include "platform/v4l2/V4L2DeviceIO.h"

namespace tavorin {
namespace {

class SystemV4L2DeviceIO final : public V4L2DeviceIO {
 public:
  int open(const std::string& path) override {
    const int fd = ::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    return fd >= 0 ? fd : -errno;
  }

  void close(int fd) override { ::close(fd); }

  int ioctl(int fd, unsigned long request, void* argument) override {
    int result = 0;
    do {
      result = ::ioctl(fd, request, argument);
    } while (result < 0 && errno == EINTR);
    return result >= 0 ? result : -errno;
  }

  void* mmap(int fd, std::size_t length, std::int64_t offset) override {
    void* address = ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, fd, static_cast<off_t>(offset));
    return address == MAP_FAILED ? nullptr : address;
  }

  void munmap(void* address, std::size_t length) override { ::munmap(address, length); }

  int poll(int fd, short events, short& revents, int timeoutMilliseconds) override {
    pollfd entry{fd, events, 0};
    const int result = ::poll(&entry, 1, timeoutMilliseconds);
    revents = entry.revents;
    return result >= 0 ? result : -errno;
  }
};

}  // namespace

V4L2DeviceIO& systemV4L2DeviceIO() {
  static SystemV4L2DeviceIO io;
  return io;
}

}  // namespace tavorin

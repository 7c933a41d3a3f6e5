#include "support/LoopbackPorts.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <stdexcept>

namespace tavorin::testing {
namespace {

sockaddr_in loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  return address;
}

}  // namespace

std::vector<int> freeLoopbackPorts(int count) {
  // All are held together while the kernel picks, so they differ.
  std::vector<int> sockets;
  std::vector<int> ports;
  for (int i = 0; i < count; ++i) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = loopback(0);
    socklen_t length = sizeof address;
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
      if (fd >= 0) ::close(fd);
      break;
    }
    sockets.push_back(fd);
    ports.push_back(ntohs(address.sin_port));
  }
  for (const int fd : sockets) ::close(fd);
  if (static_cast<int>(ports.size()) != count) throw std::runtime_error("could not find free loopback ports");
  return ports;
}

bool acceptsConnections(int port) {
  const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return false;
  const sockaddr_in address = loopback(port);
  const bool accepted = ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  ::close(fd);
  return accepted;
}

}  // namespace tavorin::testing

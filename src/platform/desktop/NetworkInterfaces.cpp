#include "platform/desktop/NetworkInterfaces.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <sys/socket.h>

#include <array>
#include <string_view>

namespace tavorin {

std::vector<NetworkAddress> networkAddresses() {
  std::vector<NetworkAddress> found;
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) return found;
  for (const ifaddrs* entry = list; entry; entry = entry->ifa_next) {
    if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_INET || !entry->ifa_name) continue;
    std::array<char, NI_MAXHOST> host{};
    if (getnameinfo(entry->ifa_addr, sizeof(sockaddr_in), host.data(), host.size(), nullptr, 0, NI_NUMERICHOST) != 0) {
      continue;
    }
    found.push_back({entry->ifa_name, host.data(), (entry->ifa_flags & IFF_UP) && (entry->ifa_flags & IFF_RUNNING),
                     (entry->ifa_flags & IFF_LOOPBACK) != 0});
  }
  freeifaddrs(list);
  return found;
}

std::optional<std::string> lanAddress(const std::vector<NetworkAddress>& addresses) {
  for (std::string_view prefix : {"en", "wl", "eth"}) {
    for (const auto& address : addresses) {
      if (address.up && !address.loopback && std::string_view(address.interfaceName).starts_with(prefix)) {
        return address.ipv4;
      }
    }
  }
  return std::nullopt;
}

}  // namespace tavorin

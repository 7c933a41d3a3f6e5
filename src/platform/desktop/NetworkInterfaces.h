#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tavorin {

// One IPv4 address of the machine, with the interface that holds it.
struct NetworkAddress {
  std::string interfaceName;
  std::string ipv4;
  bool up = false;  // up and running
  bool loopback = false;
};

// The machine's IPv4 addresses, in the system's order.
std::vector<NetworkAddress> networkAddresses();

// The address a phone on the same network reaches us at: the first up,
// non-loopback address on wired ("en…"), then wireless ("wl…"), then older
// ("eth…") interfaces; container and VPN bridges never. Nothing when there is
// none.
std::optional<std::string> lanAddress(const std::vector<NetworkAddress>& addresses);

}  // namespace tavorin

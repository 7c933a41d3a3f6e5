#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tavorin {

// An rtsp:// address taken apart: where to connect, the credentials it
// carries, and the address to put in request lines (without the credentials).
struct RTSPUrl {
  std::string host;  // empty when the address has none
  std::uint16_t port = 554;
  std::string requestURL;
  std::optional<std::string> username;  // percent-decoded
  std::optional<std::string> password;
};

RTSPUrl parseRTSPUrl(std::string_view url);

// The address with these credentials in it (percent-encoded) in place of any
// it had; no user leaves none. An address that does not parse is returned as it is.
std::string rtspURLWithCredentials(std::string_view url, const std::optional<std::string>& username,
                                   const std::optional<std::string>& password);

}  // namespace tavorin

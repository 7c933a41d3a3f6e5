#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tavorin {

// An absolute URL taken apart the way an RTMP client needs it:
// scheme://[user[:password]@]host[:port][/path][?query][#fragment].
// Parts are kept as written (percent escapes and all), so toString() gives
// back the text that was parsed.
struct ParsedURL {
  static constexpr int kRTMPPort = 1935;
  static constexpr int kRTMPSPort = 443;

  std::string scheme;  // lower case
  std::optional<std::string> user;
  std::optional<std::string> password;
  std::string host;  // an IPv6 literal keeps its brackets
  std::optional<int> explicitPort;
  std::string path;
  std::optional<std::string> query;
  std::optional<std::string> fragment;

  bool operator==(const ParsedURL&) const = default;

  // Nothing unless there is a scheme and a host and the port is a number up to 65535.
  static std::optional<ParsedURL> parse(std::string_view text);

  // The URL's own port, or the RTMP default for the scheme.
  int port() const;
  bool isSecure() const { return scheme == "rtmps"; }
  // The "app" of the connect command: the path without its leading "/", and "?query" when there is one.
  std::string appName() const;
  // What goes out as "tcUrl": the password never leaves the client.
  ParsedURL withoutCredentials() const;
  std::string toString() const;
};

// %XX escapes turned back into bytes; a malformed escape stays as it is.
std::string percentDecoded(std::string_view text);

}  // namespace tavorin

#include "sources/rtsp/RTSPUrl.h"

#include <cctype>

namespace tavorin {

namespace {

std::string percentDecoded(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  auto hex = [](char c) -> int {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size() && hex(text[i + 1]) >= 0 && hex(text[i + 2]) >= 0) {
      out.push_back(static_cast<char>(hex(text[i + 1]) * 16 + hex(text[i + 2])));
      i += 2;
    } else {
      out.push_back(text[i]);
    }
  }
  return out;
}

std::string percentEncoded(std::string_view text) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  for (unsigned char c : text) {
    if (std::isalnum(c) || std::string_view("-._~").find(char(c)) != std::string_view::npos) {
      out.push_back(char(c));
    } else {
      out += '%';
      out += kHex[c >> 4];
      out += kHex[c & 15];
    }
  }
  return out;
}

}  // namespace

std::string rtspURLWithCredentials(std::string_view url, const std::optional<std::string>& username,
                                   const std::optional<std::string>& password) {
  const RTSPUrl parsed = parseRTSPUrl(url);
  const auto schemeEnd = parsed.requestURL.find("://");
  if (parsed.host.empty() || schemeEnd == std::string::npos) return std::string(url);
  if (!username || username->empty()) return parsed.requestURL;
  std::string credentials = percentEncoded(*username);
  if (password && !password->empty()) credentials += ":" + percentEncoded(*password);
  std::string rebuilt = parsed.requestURL;
  rebuilt.insert(schemeEnd + 3, credentials + "@");
  return rebuilt;
}

RTSPUrl parseRTSPUrl(std::string_view url) {
  RTSPUrl parsed;
  parsed.requestURL = std::string(url);
  const auto schemeEnd = url.find("://");
  if (schemeEnd == std::string_view::npos) return parsed;
  const std::string_view scheme = url.substr(0, schemeEnd);
  const std::string_view rest = url.substr(schemeEnd + 3);
  const auto authorityEnd = rest.find_first_of("/?#");
  const std::string_view authority = rest.substr(0, authorityEnd);
  const std::string_view tail = authorityEnd == std::string_view::npos ? std::string_view() : rest.substr(authorityEnd);

  std::string_view hostPort = authority;
  if (const auto at = authority.rfind('@'); at != std::string_view::npos) {
    const std::string_view userInfo = authority.substr(0, at);
    hostPort = authority.substr(at + 1);
    const auto colon = userInfo.find(':');
    parsed.username = percentDecoded(userInfo.substr(0, colon));
    if (colon != std::string_view::npos) parsed.password = percentDecoded(userInfo.substr(colon + 1));
  }

  std::string_view host = hostPort;
  std::string_view port;
  if (hostPort.starts_with('[')) {
    const auto close = hostPort.find(']');
    if (close == std::string_view::npos) return parsed;
    host = hostPort.substr(1, close - 1);
    if (close + 1 < hostPort.size() && hostPort[close + 1] == ':') port = hostPort.substr(close + 2);
  } else if (const auto colon = hostPort.rfind(':'); colon != std::string_view::npos) {
    host = hostPort.substr(0, colon);
    port = hostPort.substr(colon + 1);
  }
  if (!port.empty()) {
    unsigned value = 0;
    for (char c : port) {
      if (!std::isdigit(static_cast<unsigned char>(c)) || value > 65535) return parsed;
      value = value * 10 + static_cast<unsigned>(c - '0');
    }
    if (value == 0 || value > 65535) return parsed;
    parsed.port = static_cast<std::uint16_t>(value);
  }
  parsed.host = std::string(host);
  parsed.requestURL = std::string(scheme) + "://" + std::string(hostPort) + std::string(tail);
  return parsed;
}

}  // namespace tavorin

#include "streaming/rtmp/ParsedURL.h"

#include <cctype>

namespace tavorin {
namespace {

bool isSchemeCharacter(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) || c == '+' || c == '-' || c == '.';
}

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

std::optional<ParsedURL> ParsedURL::parse(std::string_view text) {
  ParsedURL url;
  const auto colon = text.find(':');
  if (colon == std::string_view::npos || colon == 0 || !std::isalpha(static_cast<unsigned char>(text[0]))) {
    return std::nullopt;
  }
  for (const char c : text.substr(0, colon)) {
    if (!isSchemeCharacter(c)) return std::nullopt;
    url.scheme.push_back(static_cast<char>(std::tolower(static_cast<unsigned char>(c))));
  }
  std::string_view rest = text.substr(colon + 1);
  if (rest.substr(0, 2) != "//") return std::nullopt;
  rest.remove_prefix(2);

  if (const auto hash = rest.find('#'); hash != std::string_view::npos) {
    url.fragment = std::string(rest.substr(hash + 1));
    rest = rest.substr(0, hash);
  }
  if (const auto question = rest.find('?'); question != std::string_view::npos) {
    url.query = std::string(rest.substr(question + 1));
    rest = rest.substr(0, question);
  }
  const auto slash = rest.find('/');
  std::string_view authority = rest.substr(0, slash);
  if (slash != std::string_view::npos) url.path = std::string(rest.substr(slash));

  // The last "@" ends the credentials: a password may hold one unescaped.
  if (const auto at = authority.rfind('@'); at != std::string_view::npos) {
    const std::string_view credentials = authority.substr(0, at);
    authority.remove_prefix(at + 1);
    const auto separator = credentials.find(':');
    url.user = std::string(credentials.substr(0, separator));
    if (separator != std::string_view::npos) url.password = std::string(credentials.substr(separator + 1));
  }

  std::string_view portText;
  if (!authority.empty() && authority.front() == '[') {
    const auto close = authority.find(']');
    if (close == std::string_view::npos) return std::nullopt;
    url.host = std::string(authority.substr(0, close + 1));
    const std::string_view after = authority.substr(close + 1);
    if (!after.empty()) {
      if (after.front() != ':') return std::nullopt;
      portText = after.substr(1);
    }
  } else {
    const auto portColon = authority.find(':');
    url.host = std::string(authority.substr(0, portColon));
    if (portColon != std::string_view::npos) portText = authority.substr(portColon + 1);
  }
  if (url.host.empty()) return std::nullopt;
  if (!portText.empty()) {
    if (portText.size() > 5) return std::nullopt;
    int port = 0;
    for (const char c : portText) {
      if (!std::isdigit(static_cast<unsigned char>(c))) return std::nullopt;
      port = port * 10 + (c - '0');
    }
    if (port > 65535) return std::nullopt;
    url.explicitPort = port;
  }
  return url;
}

int ParsedURL::port() const {
  if (explicitPort) return *explicitPort;
  return isSecure() ? kRTMPSPort : kRTMPPort;
}

std::string ParsedURL::appName() const {
  std::string app = path.empty() ? std::string() : path.substr(1);
  if (query) app += "?" + *query;
  return app;
}

ParsedURL ParsedURL::withoutCredentials() const {
  ParsedURL url = *this;
  url.user.reset();
  url.password.reset();
  return url;
}

std::string ParsedURL::toString() const {
  std::string text = scheme + "://";
  if (user) {
    text += *user;
    if (password) text += ":" + *password;
    text += "@";
  }
  text += host;
  if (explicitPort) text += ":" + std::to_string(*explicitPort);
  text += path;
  if (query) text += "?" + *query;
  if (fragment) text += "#" + *fragment;
  return text;
}

std::string percentDecoded(std::string_view text) {
  std::string decoded;
  decoded.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size()) {
      const int high = hexValue(text[i + 1]);
      const int low = hexValue(text[i + 2]);
      if (high >= 0 && low >= 0) {
        decoded.push_back(static_cast<char>(high * 16 + low));
        i += 2;
        continue;
      }
    }
    decoded.push_back(text[i]);
  }
  return decoded;
}

}  // namespace tavorin

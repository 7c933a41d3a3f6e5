#include "streaming/StreamURL.h"

namespace tavorin {

std::optional<std::pair<std::string, std::string>> splitStreamURL(const std::string& url) {
  if (url.rfind("rtmp://", 0) != 0 && url.rfind("rtmps://", 0) != 0) return std::nullopt;
  const auto path = url.find('/', url.find("://") + 3);
  const auto last = url.rfind('/');
  if (path == std::string::npos || last == path || last + 1 >= url.size()) return std::nullopt;
  return std::pair{url.substr(0, last), url.substr(last + 1)};
}

}  // namespace tavorin

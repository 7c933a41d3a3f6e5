#pragma once

#include <optional>
#include <string>
#include <utility>

namespace tavorin {

// "rtmp://host:port/app/key" → {"rtmp://host:port/app", "key"}: the server
// URL and the stream key of a URL given whole. Nothing unless the scheme is
// rtmp or rtmps and both an application and a key follow the host.
std::optional<std::pair<std::string, std::string>> splitStreamURL(const std::string& url);

}  // namespace tavorin

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace tavorin {

// One message from the browser: a reply (id set) or an event (method set).
struct DevToolsMessage {
  std::optional<std::int64_t> id;
  std::string method;
  std::string sessionId;
  nlohmann::json body;  // the reply's "result" or the event's "params"
  std::string error;    // a failed command's "error"."message"
  // A frame's picture, base64, cut out before parsing: a JSON parser would copy
  // megabytes per frame for nothing.
  std::string data;
};

// Null when the text is not a DevTools message.
std::optional<DevToolsMessage> parseDevToolsMessage(std::string text);

std::string encodeDevToolsCommand(std::int64_t id, std::string_view method, const nlohmann::json& params,
                                  std::string_view sessionId);

}  // namespace tavorin

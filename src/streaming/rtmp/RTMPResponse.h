#pragma once

#include <optional>
#include <string>

#include "streaming/rtmp/AMFValue.h"

namespace tavorin {

// The status object of an onStatus or _error: what the server says happened.
struct RTMPStatus {
  std::string code;
  std::string level;
  std::string description;
  std::optional<AMFObject> data;

  bool operator==(const RTMPStatus&) const = default;

  // From a value that is an object with string "code" and "level"; the
  // description is empty when the server gave none.
  static std::optional<RTMPStatus> from(const AMFValue& value) {
    const auto* object = value.get<AMFObject>();
    if (!object) return std::nullopt;
    auto text = [&](const char* key) -> const std::string* {
      auto found = object->find(key);
      return found == object->end() ? nullptr : found->second.get<std::string>();
    };
    const std::string* code = text("code");
    const std::string* level = text("level");
    if (!code || !level) return std::nullopt;
    const std::string* description = text("description");
    return RTMPStatus{*code, *level, description ? *description : std::string(), *object};
  }
};

// A command's answer: its arguments, and the status when the first one is one.
struct RTMPResponse {
  std::optional<RTMPStatus> status;
  AMFList arguments;

  bool operator==(const RTMPResponse&) const = default;

  static RTMPResponse from(AMFList arguments) {
    RTMPResponse response;
    if (!arguments.empty()) response.status = RTMPStatus::from(arguments.front());
    response.arguments = std::move(arguments);
    return response;
  }
};

}  // namespace tavorin

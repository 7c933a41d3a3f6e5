#pragma once

#include <optional>
#include <string>

#include "streaming/rtmp/RTMPResponse.h"

namespace tavorin {

// Why a publish or close failed. The text names the case and, for a refused
// request, the server's status code.
struct RTMPStreamError {
  enum class Kind { requestFailed, invalidState, requestTimedOut, unsupportedCodec };

  Kind kind = Kind::invalidState;
  std::optional<RTMPResponse> response;

  std::string describe() const {
    static const char* names[] = {"requestFailed", "invalidState", "requestTimedOut", "unsupportedCodec"};
    std::string name = names[static_cast<int>(kind)];
    if (response && response->status) {
      const auto& status = *response->status;
      name += "(" + status.code + (status.description.empty() ? "" : ": " + status.description) + ")";
    }
    return name;
  }
};

struct RTMPStreamResult {
  std::optional<RTMPResponse> response;
  std::optional<RTMPStreamError> error;

  bool ok() const { return response.has_value(); }
  static RTMPStreamResult success(RTMPResponse value) { return {std::move(value), std::nullopt}; }
  static RTMPStreamResult failure(RTMPStreamError value) { return {std::nullopt, std::move(value)}; }
};

}  // namespace tavorin

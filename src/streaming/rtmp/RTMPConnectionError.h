#pragma once

#include <optional>
#include <string>

#include "streaming/rtmp/RTMPResponse.h"

namespace tavorin {

// Why a connect or call failed. The text names the case and, for a refused
// request, the server's status code, which is what retry decisions read.
struct RTMPConnectionError {
  enum class Kind {
    unsupportedCommand,
    socketErrorOccurred,
    requestFailed,
    invalidState,
    connectionTimedOut,
    requestTimedOut,
  };

  Kind kind = Kind::invalidState;
  std::string detail;                   // the URL, or the socket's words
  std::optional<RTMPResponse> response;  // for requestFailed

  std::string describe() const;
};

// A command's outcome: the server's response, or why there is none.
struct RTMPResult {
  std::optional<RTMPResponse> response;
  std::optional<RTMPConnectionError> error;

  bool ok() const { return response.has_value(); }
  static RTMPResult success(RTMPResponse value) { return {std::move(value), std::nullopt}; }
  static RTMPResult failure(RTMPConnectionError value) { return {std::nullopt, std::move(value)}; }
};

}  // namespace tavorin

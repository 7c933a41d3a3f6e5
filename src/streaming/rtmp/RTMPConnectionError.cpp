#include "streaming/rtmp/RTMPConnectionError.h"

namespace tavorin {

std::string RTMPConnectionError::describe() const {
  std::string name;
  switch (kind) {
    case Kind::unsupportedCommand:
      name = "unsupportedCommand";
      break;
    case Kind::socketErrorOccurred:
      name = "socketErrorOccurred";
      break;
    case Kind::requestFailed:
      name = "requestFailed";
      break;
    case Kind::invalidState:
      name = "invalidState";
      break;
    case Kind::connectionTimedOut:
      name = "connectionTimedOut";
      break;
    case Kind::requestTimedOut:
      name = "requestTimedOut";
      break;
  }
  std::string inside = detail;
  if (response && response->status) {
    const auto& status = *response->status;
    inside = status.code + (status.description.empty() ? "" : ": " + status.description);
  }
  return inside.empty() ? name : name + "(" + inside + ")";
}

}  // namespace tavorin

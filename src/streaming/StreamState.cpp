#include "streaming/StreamState.h"

namespace tavorin {

std::string StreamState::label() const {
  switch (kind) {
    case Kind::live:
      return "Live";
    case Kind::reconnecting:
      return "Reconnecting… (try " + std::to_string(attempt) + ")";
    case Kind::error:
      return message;
    case Kind::idle:
      return "Off";
    case Kind::connecting:
      return "Connecting…";
  }
  return {};
}

}  // namespace tavorin

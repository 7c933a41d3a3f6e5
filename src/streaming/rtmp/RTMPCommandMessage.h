#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "streaming/rtmp/AMFValue.h"
#include "streaming/rtmp/RTMPMessage.h"

namespace tavorin {

// A command in AMF0: name, transaction id, command object (null when
// absent), then its arguments.
struct RTMPCommandMessage {
  std::uint32_t streamId = 0;
  std::uint32_t timestamp = 0;
  std::string commandName;
  double transactionId = 0;
  std::optional<AMFObject> commandObject;
  AMFList arguments;

  bool operator==(const RTMPCommandMessage&) const = default;

  RTMPMessage toMessage() const;

  // Nothing for a body that does not decode. Servers send at most one value
  // behind the command object that matters, so only that one is read.
  static std::optional<RTMPCommandMessage> fromMessage(const RTMPMessage& message);
};

}  // namespace tavorin

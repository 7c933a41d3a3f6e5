#include "streaming/rtmp/RTMPCommandMessage.h"

#include "streaming/rtmp/AMF0Serializer.h"

namespace tavorin {

RTMPMessage RTMPCommandMessage::toMessage() const {
  AMF0Serializer body;
  body.serialize(commandName).serialize(transactionId);
  if (commandObject) {
    body.serialize(*commandObject);
  } else {
    body.serialize(nullptr);
  }
  for (const AMFValue& argument : arguments) body.serialize(argument);
  return RTMPMessage{RTMPMessageType::amf0Command, streamId, timestamp, body.data()};
}

std::optional<RTMPCommandMessage> RTMPCommandMessage::fromMessage(const RTMPMessage& message) {
  if (message.type != RTMPMessageType::amf0Command) return std::nullopt;
  RTMPCommandMessage command{message.streamId, message.timestamp, {}, 0, std::nullopt, {}};
  AMF0Serializer body(message.payload);
  try {
    // A name of another type leaves the name empty and skips its marker
    // alone, as other clients do.
    const std::uint8_t marker = body.hasRemaining() ? message.payload[0] : 0xFF;
    if (marker == 0x02 || marker == 0x0C) {
      command.commandName = *body.deserialize().get<std::string>();
    } else {
      body = AMF0Serializer(std::span(message.payload).subspan(body.hasRemaining() ? 1 : 0));
    }
    const AMFValue id = body.deserialize();
    if (!id.get<double>()) return std::nullopt;
    command.transactionId = *id.get<double>();
    AMFValue object = body.deserialize();
    if (const AMFObject* map = object.get<AMFObject>()) {
      command.commandObject = *map;
    } else if (!object.isNull()) {
      return std::nullopt;
    }
    if (body.hasRemaining()) command.arguments.push_back(body.deserialize());
  } catch (const AMFSerializerError&) {
    return std::nullopt;
  }
  return command;
}

}  // namespace tavorin

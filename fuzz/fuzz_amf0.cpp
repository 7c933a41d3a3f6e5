// AMF0 decoding of hostile bytes: values one after another, and the same
// bytes as the body of a command message. Whatever decodes must encode again,
// and a second decode of that encoding must give the same bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "streaming/rtmp/AMF0Serializer.h"
#include "streaming/rtmp/RTMPCommandMessage.h"

namespace {

using namespace tavorin;

void checkReencoding(const AMFValue& value) {
  AMF0Serializer first;
  first.serialize(value);
  AMF0Serializer reader(first.data());
  const AMFValue again = reader.deserialize();
  if (reader.hasRemaining()) std::abort();
  AMF0Serializer second;
  second.serialize(again);
  if (second.data() != first.data()) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span<const std::uint8_t> bytes(data, size);

  AMF0Serializer serializer(bytes);
  while (serializer.hasRemaining()) {
    const std::size_t before = serializer.position();
    try {
      checkReencoding(serializer.deserialize());
    } catch (const AMFSerializerError&) {
      // A failed read must leave the cursor where it was.
      if (serializer.position() != before) std::abort();
      break;
    }
    if (serializer.position() <= before) std::abort();
  }

  const RTMPMessage message{RTMPMessageType::amf0Command, 1, 0, std::vector<std::uint8_t>(bytes.begin(), bytes.end())};
  if (const auto command = RTMPCommandMessage::fromMessage(message)) {
    if (!RTMPCommandMessage::fromMessage(command->toMessage())) std::abort();
  }
  return 0;
}

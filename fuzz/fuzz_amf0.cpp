// AMF0 decoding of hostile bytes: values one after another, and the same
// bytes as the body of a command message. Whatever decodes must encode again,
// and a second decode of that encoding must give the same bytes; no cut of
// that encoding may decode, and nothing decodes nested past the limit.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "streaming/rtmp/AMF0Serializer.h"
#include "streaming/rtmp/RTMPCommandMessage.h"

namespace {

using namespace tavorin;

// Levels of nesting: 1 for a value that holds no other.
int levels(const AMFValue& value) {
  int deepest = 0;
  auto visit = [&](const AMFValue& inner) { deepest = std::max(deepest, levels(inner)); };
  if (const auto* list = value.get<AMFList>()) std::for_each(list->begin(), list->end(), visit);
  if (const auto* object = value.get<AMFObject>()) {
    for (const auto& entry : *object) visit(entry.second);
  }
  if (const auto* array = value.get<AMFArray>()) {
    std::for_each(array->data.begin(), array->data.end(), visit);
    for (const auto& entry : array->dict) visit(entry.second);
  }
  return deepest + 1;
}

// A cut value is an error that leaves the cursor where it was.
void checkCut(const std::vector<std::uint8_t>& encoding, std::size_t size) {
  AMF0Serializer reader(std::span(encoding).first(size));
  try {
    reader.deserialize();
  } catch (const AMFSerializerError&) {
    if (reader.position() != 0) std::abort();
    return;
  }
  std::abort();
}

void checkReencoding(const AMFValue& value) {
  // The limit counts containers from 0, so the deepest value readable has one level more.
  if (levels(value) > AMF0Serializer::kMaxDepth + 1) std::abort();
  AMF0Serializer first;
  first.serialize(value);
  const std::size_t size = first.data().size();
  for (std::size_t cut : {std::size_t{0}, size / 2, size - 1}) checkCut(first.data(), cut);
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

#include "streaming/rtmp/AMF0Serializer.h"

#include <bit>
#include <limits>
#include <type_traits>

namespace tavorin {
namespace {

enum Marker : std::uint8_t {
  number = 0x00,
  boolean = 0x01,
  string = 0x02,
  object = 0x03,
  null = 0x05,
  undefined = 0x06,
  ecmaArray = 0x08,
  objectEnd = 0x09,
  strictArray = 0x0A,
  date = 0x0B,
  longString = 0x0C,
};

std::string indexKey(std::size_t index) { return std::to_string(index); }

}  // namespace

void AMF0Serializer::writeU16(std::uint16_t value) {
  writeU8(static_cast<std::uint8_t>(value >> 8));
  writeU8(static_cast<std::uint8_t>(value));
}

void AMF0Serializer::writeU32(std::uint32_t value) {
  writeU16(static_cast<std::uint16_t>(value >> 16));
  writeU16(static_cast<std::uint16_t>(value));
}

void AMF0Serializer::writeDouble(double value) {
  const auto bits = std::bit_cast<std::uint64_t>(value);
  writeU32(static_cast<std::uint32_t>(bits >> 32));
  writeU32(static_cast<std::uint32_t>(bits));
}

void AMF0Serializer::writeUtf8(std::string_view text) {
  // Keys longer than a 16-bit length can say are cut rather than written
  // with a length that lies about them.
  const std::size_t length = std::min<std::size_t>(text.size(), std::numeric_limits<std::uint16_t>::max());
  writeU16(static_cast<std::uint16_t>(length));
  data_.insert(data_.end(), text.begin(), text.begin() + static_cast<std::ptrdiff_t>(length));
}

void AMF0Serializer::writeObjectEnd() {
  writeU16(0);
  writeU8(Marker::objectEnd);
}

AMF0Serializer& AMF0Serializer::serialize(const AMFValue& value) {
  std::visit(
      [this](const auto& v) {
        using T = std::decay_t<decltype(v)>;
        if constexpr (std::is_same_v<T, std::nullptr_t>) {
          writeU8(Marker::null);
        } else if constexpr (std::is_same_v<T, AMFUndefined>) {
          writeU8(Marker::undefined);
        } else if constexpr (std::is_same_v<T, double>) {
          writeU8(Marker::number);
          writeDouble(v);
        } else if constexpr (std::is_same_v<T, bool>) {
          writeU8(Marker::boolean);
          writeU8(v ? 1 : 0);
        } else if constexpr (std::is_same_v<T, std::string>) {
          // The length fields count UTF-8 bytes, so the byte count decides.
          if (v.size() <= std::numeric_limits<std::uint16_t>::max()) {
            writeU8(Marker::string);
            writeUtf8(v);
          } else {
            writeU8(Marker::longString);
            writeU32(static_cast<std::uint32_t>(v.size()));
            data_.insert(data_.end(), v.begin(), v.end());
          }
        } else if constexpr (std::is_same_v<T, AMFDate>) {
          writeU8(Marker::date);
          writeDouble(v.milliseconds);
          writeU16(0);
        } else if constexpr (std::is_same_v<T, AMFList>) {
          writeU8(Marker::strictArray);
          writeU32(static_cast<std::uint32_t>(v.size()));
          for (const AMFValue& element : v) serialize(element);
        } else if constexpr (std::is_same_v<T, AMFArray>) {
          writeU8(Marker::ecmaArray);
          writeU32(static_cast<std::uint32_t>(v.data.size()));
          for (std::size_t i = 0; i < v.data.size(); ++i) {
            writeUtf8(indexKey(i));
            serialize(v.data[i]);
          }
          for (const auto& [key, element] : v.dict) {
            writeUtf8(key);
            serialize(element);
          }
          writeObjectEnd();
        } else if constexpr (std::is_same_v<T, AMFObject>) {
          writeU8(Marker::object);
          for (const auto& [key, element] : v) {
            writeUtf8(key);
            serialize(element);
          }
          writeObjectEnd();
        }
      },
      value.storage);
  return *this;
}

const std::uint8_t* AMF0Serializer::take(std::size_t count) {
  if (count > remaining()) {
    throw AMFSerializerError(AMFSerializerError::Kind::outOfIndex,
                             "need " + std::to_string(count) + " bytes at " + std::to_string(position_) + ", have " +
                                 std::to_string(remaining()));
  }
  const std::uint8_t* bytes = data_.data() + position_;
  position_ += count;
  return bytes;
}

std::uint8_t AMF0Serializer::readU8() { return *take(1); }

std::uint16_t AMF0Serializer::readU16() {
  const std::uint8_t* b = take(2);
  return static_cast<std::uint16_t>((b[0] << 8) | b[1]);
}

std::uint32_t AMF0Serializer::readU32() {
  const std::uint8_t* b = take(4);
  return (std::uint32_t{b[0]} << 24) | (std::uint32_t{b[1]} << 16) | (std::uint32_t{b[2]} << 8) | b[3];
}

double AMF0Serializer::readDouble() {
  const std::uint64_t high = readU32();
  const std::uint64_t low = readU32();
  return std::bit_cast<double>((high << 32) | low);
}

std::string AMF0Serializer::readString(std::size_t length) {
  const std::uint8_t* bytes = take(length);
  return std::string(reinterpret_cast<const char*>(bytes), length);
}

AMFValue AMF0Serializer::deserialize() {
  const std::size_t start = position_;
  try {
    return read(0);
  } catch (const AMFSerializerError&) {
    position_ = start;
    throw;
  }
}

AMFObject AMF0Serializer::readProperties(int depth) {
  AMFObject properties;
  for (;;) {
    std::string key = readString(readU16());
    if (key.empty()) {
      const std::uint8_t marker = readU8();
      if (marker != Marker::objectEnd) {
        throw AMFSerializerError(AMFSerializerError::Kind::deserialize,
                                 "empty key not followed by object end at " + std::to_string(position_ - 1));
      }
      return properties;
    }
    // Of repeated keys the last one wins.
    properties.insert_or_assign(std::move(key), read(depth + 1));
  }
}

AMFValue AMF0Serializer::read(int depth) {
  if (depth > kMaxDepth) {
    throw AMFSerializerError(AMFSerializerError::Kind::deserialize, "nesting deeper than " + std::to_string(kMaxDepth));
  }
  const std::uint8_t marker = readU8();
  switch (marker) {
    case Marker::number:
      return readDouble();
    case Marker::boolean:
      return readU8() != 0;
    case Marker::string:
      return readString(readU16());
    case Marker::longString:
      return readString(readU32());
    case Marker::null:
      return nullptr;
    case Marker::undefined:
      return AMFUndefined{};
    case Marker::date: {
      AMFDate value{readDouble()};
      readU16();  // time zone, unused by every writer
      return value;
    }
    case Marker::object:
      return readProperties(depth);
    case Marker::ecmaArray: {
      readU32();  // the count is only a hint; the end marker is what counts
      AMFArray array;
      array.dict = readProperties(depth);
      // Indexed entries come back as data when they run 0, 1, 2… as written.
      for (;;) {
        auto entry = array.dict.find(indexKey(array.data.size()));
        if (entry == array.dict.end()) break;
        array.data.push_back(std::move(entry->second));
        array.dict.erase(entry);
      }
      return array;
    }
    case Marker::strictArray: {
      const std::uint32_t count = readU32();
      // Each value takes at least one byte, so a larger count is a lie;
      // checking first keeps a hostile count from reserving gigabytes.
      if (count > remaining()) {
        throw AMFSerializerError(AMFSerializerError::Kind::outOfIndex,
                                 "strict array of " + std::to_string(count) + " values in " +
                                     std::to_string(remaining()) + " bytes");
      }
      AMFList list;
      list.reserve(count);
      for (std::uint32_t i = 0; i < count; ++i) list.push_back(read(depth + 1));
      return list;
    }
    default:
      throw AMFSerializerError(AMFSerializerError::Kind::deserialize,
                               "unsupported marker " + std::to_string(marker) + " at " + std::to_string(position_ - 1));
  }
}

}  // namespace tavorin

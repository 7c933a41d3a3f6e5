#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "streaming/rtmp/AMFSerializerError.h"
#include "streaming/rtmp/AMFValue.h"

namespace tavorin {

// AMF0 bytes with one cursor: serialize appends at the end, deserialize reads
// from position(). Reading never goes past the data: a short or malformed
// value throws AMFSerializerError and leaves the position where it was.
class AMF0Serializer {
 public:
  // Objects nested deeper than this are refused, so hostile input cannot
  // exhaust the stack.
  static constexpr int kMaxDepth = 64;

  AMF0Serializer() = default;
  explicit AMF0Serializer(std::vector<std::uint8_t> data) : data_(std::move(data)) {}
  explicit AMF0Serializer(std::span<const std::uint8_t> data) : data_(data.begin(), data.end()) {}

  AMF0Serializer& serialize(const AMFValue& value);
  AMFValue deserialize();

  const std::vector<std::uint8_t>& data() const { return data_; }
  std::size_t position() const { return position_; }
  std::size_t remaining() const { return data_.size() - position_; }
  bool hasRemaining() const { return position_ < data_.size(); }

 private:
  void writeU8(std::uint8_t value) { data_.push_back(value); }
  void writeU16(std::uint16_t value);
  void writeU32(std::uint32_t value);
  void writeDouble(double value);
  void writeUtf8(std::string_view text);  // 16-bit length, no marker
  void writeObjectEnd();

  AMFValue read(int depth);
  AMFObject readProperties(int depth);
  const std::uint8_t* take(std::size_t count);
  std::uint8_t readU8();
  std::uint16_t readU16();
  std::uint32_t readU32();
  double readDouble();
  std::string readString(std::size_t length);

  std::vector<std::uint8_t> data_;
  std::size_t position_ = 0;
};

}  // namespace tavorin

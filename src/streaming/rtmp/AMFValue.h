#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace tavorin {

struct AMFValue;

// An anonymous object: keys in no meaningful order, so a sorted map keeps
// encodings reproducible.
using AMFObject = std::map<std::string, AMFValue>;

// A strict array.
using AMFList = std::vector<AMFValue>;

// An ECMA array: indexed values travel under their decimal index as keys.
struct AMFArray {
  AMFList data;
  AMFObject dict;

  // Defined below AMFValue: clang wants the value type complete for a defaulted one.
  bool operator==(const AMFArray&) const;
};

struct AMFDate {
  double milliseconds = 0;  // since 1970-01-01 UTC

  bool operator==(const AMFDate&) const = default;
};

struct AMFUndefined {
  bool operator==(const AMFUndefined&) const = default;
};

// One AMF value. Null stands for an absent value; every number is a double
// on the wire.
struct AMFValue {
  using Storage = std::variant<std::nullptr_t, AMFUndefined, double, bool, std::string, AMFDate, AMFList,
                               AMFArray, AMFObject>;

  Storage storage = nullptr;

  AMFValue() = default;
  AMFValue(std::nullptr_t) {}
  AMFValue(AMFUndefined value) : storage(value) {}
  AMFValue(double value) : storage(value) {}
  AMFValue(int value) : storage(static_cast<double>(value)) {}
  AMFValue(std::int64_t value) : storage(static_cast<double>(value)) {}
  AMFValue(std::uint32_t value) : storage(static_cast<double>(value)) {}
  AMFValue(bool value) : storage(value) {}
  AMFValue(std::string value) : storage(std::move(value)) {}
  AMFValue(const char* value) : storage(std::string(value)) {}
  AMFValue(AMFDate value) : storage(value) {}
  AMFValue(AMFList value) : storage(std::move(value)) {}
  AMFValue(AMFArray value) : storage(std::move(value)) {}
  AMFValue(AMFObject value) : storage(std::move(value)) {}

  bool isNull() const { return std::holds_alternative<std::nullptr_t>(storage); }

  // Null when the value holds another type.
  template <class T>
  const T* get() const {
    return std::get_if<T>(&storage);
  }

  bool operator==(const AMFValue&) const = default;
};

inline bool AMFArray::operator==(const AMFArray& other) const { return data == other.data && dict == other.dict; }

}  // namespace tavorin

#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/EnumNames.h"
#include "base/SharedValue.h"
#include "model/Json.h"
#include "model/SceneJson.h"

// Strict readers shared by every store's JSON coding: a value of the wrong type
// or an enum name that is not in the table throws ModelDecodeError, a missing
// key leaves the default in place.
namespace tavorin::json_decoding {

using json = tavorin::Json;

[[noreturn]] inline void fail(const std::string& what) { throw ModelDecodeError(what); }

inline void expectObject(const json& j, const char* what) {
  if (!j.is_object()) fail(std::string(what) + " is not an object");
}

inline void decode(const json& j, double& out) {
  if (!j.is_number()) fail("expected a number");
  out = j.get<double>();
}
inline void decode(const json& j, float& out) {
  if (!j.is_number()) fail("expected a number");
  const double value = j.get<double>();
  // Narrowing a double beyond the float range is undefined; such a file is bad.
  if (std::abs(value) > static_cast<double>(std::numeric_limits<float>::max())) fail("number out of range for a float");
  out = static_cast<float>(value);
}
inline void decode(const json& j, long long& out) {
  // Positive integers parse as unsigned and may exceed long long.
  if (j.is_number_unsigned()) {
    const auto value = j.get<std::uint64_t>();
    if (value > static_cast<std::uint64_t>(std::numeric_limits<long long>::max())) fail("integer out of range");
    out = static_cast<long long>(value);
    return;
  }
  if (j.is_number_integer()) {
    out = j.get<long long>();
    return;
  }
  if (j.is_number_float()) {
    // A whole number written as 2.0 is still an integer. The range test comes
    // before the cast, which is undefined for doubles outside long long.
    const double d = j.get<double>();
    if (d >= -0x1p63 && d < 0x1p63 && d == std::trunc(d)) {
      out = static_cast<long long>(d);
      return;
    }
  }
  fail("expected an integer");
}
inline void decode(const json& j, int& out) {
  long long v = 0;
  decode(j, v);
  if (v < std::numeric_limits<int>::min() || v > std::numeric_limits<int>::max()) fail("integer out of range");
  out = static_cast<int>(v);
}
inline void decode(const json& j, unsigned& out) {
  long long v = 0;
  decode(j, v);
  if (v < 0 || v > 0xffffffffLL) fail("expected a 32-bit unsigned integer");
  out = static_cast<unsigned>(v);
}
inline void decode(const json& j, bool& out) {
  if (!j.is_boolean()) fail("expected a Boolean");
  out = j.get<bool>();
}
inline void decode(const json& j, std::string& out) {
  if (!j.is_string()) fail("expected a string");
  out = j.get<std::string>();
}
inline void decode(const json& j, json& out) { out = j; }

template <class E>
  requires requires { EnumNames<E>::table; }
void decode(const json& j, E& out) {
  if (!j.is_string()) fail("expected an enum name");
  auto value = enumFromName<E>(j.get_ref<const std::string&>());
  if (!value) fail("unknown enum value " + j.get<std::string>());
  out = *value;
}

template <class T>
  requires requires(const json& j, T& t) { from_json(j, t); }
void decode(const json& j, T& out) {
  from_json(j, out);
}

template <class T>
void decode(const json& j, std::vector<T>& out) {
  if (!j.is_array()) fail("expected an array");
  std::vector<T> items;
  items.reserve(j.size());
  for (const auto& element : j) {
    T item{};
    decode(element, item);
    items.push_back(std::move(item));
  }
  out = std::move(items);
}

template <class T>
void decode(const json& j, std::map<std::string, T>& out) {
  if (!j.is_object()) fail("expected an object");
  std::map<std::string, T> items;
  for (const auto& [key, value] : j.items()) {
    T item{};
    decode(value, item);
    items.emplace(key, std::move(item));
  }
  out = std::move(items);
}

template <class T>
void decode(const json& j, SharedValue<T>& out) {
  T value{};
  decode(j, value);
  out = std::move(value);
}

// A key that may be missing (or null): `out` keeps its default then.
template <class T>
void optionalKey(const json& object, const char* key, T& out) {
  auto it = object.find(key);
  if (it == object.end() || it->is_null()) return;
  decode(*it, out);
}

template <class T>
void optionalKey(const json& object, const char* key, std::optional<T>& out) {
  auto it = object.find(key);
  if (it == object.end() || it->is_null()) {
    out.reset();
    return;
  }
  T value{};
  decode(*it, value);
  out = std::move(value);
}

template <class T>
void requiredKey(const json& object, const char* key, T& out) {
  auto it = object.find(key);
  if (it == object.end() || it->is_null()) fail(std::string("missing key ") + key);
  decode(*it, out);
}

}  // namespace tavorin::json_decoding

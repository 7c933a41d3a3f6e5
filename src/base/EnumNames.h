#pragma once

#include <optional>
#include <string_view>

namespace tavorin {

// Enums stored by name specialise EnumNames<E> with
//   static constexpr std::pair<E, std::string_view> table[] = {...};
// so that writing and reading a name is one lookup, shared by every file format.
template <class E>
struct EnumNames;

template <class E>
constexpr std::string_view enumName(E value) {
  for (const auto& [e, name] : EnumNames<E>::table) {
    if (e == value) return name;
  }
  return {};
}

// Nothing when the name is none of the enum's.
template <class E>
constexpr std::optional<E> enumFromName(std::string_view name) {
  for (const auto& [e, n] : EnumNames<E>::table) {
    if (n == name) return e;
  }
  return std::nullopt;
}

}  // namespace tavorin

#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tavorin {

// A 128-bit identifier. Written as the canonical upper-case string with hyphens,
// the form every show file uses.
struct Uuid {
  std::array<std::uint8_t, 16> bytes{};

  // A fresh random (version 4) identifier.
  static Uuid make();
  // Accepts either case; nothing for anything that is not a canonical UUID string.
  static std::optional<Uuid> parse(std::string_view text);

  std::string toString() const;
  bool isNil() const;

  friend bool operator==(const Uuid&, const Uuid&) = default;
  friend auto operator<=>(const Uuid&, const Uuid&) = default;
};

}  // namespace tavorin

template <>
struct std::hash<tavorin::Uuid> {
  std::size_t operator()(const tavorin::Uuid& id) const noexcept {
    std::size_t h = 1469598103934665603ull;
    for (auto b : id.bytes) h = (h ^ b) * 1099511628211ull;
    return h;
  }
};

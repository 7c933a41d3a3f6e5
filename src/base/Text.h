#pragma once

#include <string>
#include <string_view>

namespace tavorin {

// `text` without the white space at either end: what a name typed by the operator keeps.
inline std::string trimmed(std::string_view text) {
  constexpr std::string_view kSpace = " \t\n\r\v\f";
  const auto first = text.find_first_not_of(kSpace);
  if (first == std::string_view::npos) return {};
  return std::string(text.substr(first, text.find_last_not_of(kSpace) - first + 1));
}

// Whether `text` is well-formed UTF-8 (no overlong forms, nothing past U+10FFFF).
inline bool isValidUtf8(std::string_view text) {
  std::size_t i = 0;
  while (i < text.size()) {
    const auto c = static_cast<unsigned char>(text[i]);
    const std::size_t more = c < 0x80 ? 0 : (c & 0xE0) == 0xC0 ? 1 : (c & 0xF0) == 0xE0 ? 2 : (c & 0xF8) == 0xF0 ? 3 : 4;
    if (more == 4 || (c >= 0x80 && c < 0xC2) || c > 0xF4 || i + more >= text.size() + (more == 0)) return false;
    for (std::size_t k = 1; k <= more; ++k) {
      if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return false;
    }
    const auto next = static_cast<unsigned char>(more ? text[i + 1] : 0);
    if ((c == 0xE0 && next < 0xA0) || (c == 0xF0 && next < 0x90) || (c == 0xF4 && next > 0x8F)) return false;
    i += more + 1;
  }
  return true;
}

}  // namespace tavorin
